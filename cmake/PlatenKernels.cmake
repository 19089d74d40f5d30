# The kernel targets and their files.
#
# A target is a kind of processor that has kernels of its own. The rows below are the only list of them; the build,
# the tables of Sources/Dispatch/Kernels.cpp, the contracts' declarations and the tests read it.
#
#   platen_kernel_target(NAME PROCESSORS FLAGS...)
#
# NAME is the ending of the target's files, PROCESSORS the families that may run it (`any`, or some of x86_64, i686,
# aarch64 and wasm32), FLAGS what its files are compiled with. Rows stand from the plainest to the best: a processor
# that runs a target runs all rows above it that are for its family, too. docs/kernels.md says how to add one.

set(PLATEN_KERNEL_TARGETS "")
function(platen_kernel_target name processors)
  list(APPEND PLATEN_KERNEL_TARGETS ${name})
  set(PLATEN_KERNEL_TARGETS "${PLATEN_KERNEL_TARGETS}" PARENT_SCOPE)
  set(PLATEN_KERNEL_PROCESSORS_${name} "${processors}" PARENT_SCOPE)
  set(PLATEN_KERNEL_FLAGS_${name} "${ARGN}" PARENT_SCOPE)
endfunction()

platen_kernel_target(baseline "any")
platen_kernel_target(sse2     "x86_64;i686" -msse2)
platen_kernel_target(avx2     "x86_64" -mavx2 -mpopcnt)
platen_kernel_target(avx512   "x86_64" -mpopcnt -mavx512f -mavx512bw -mavx512vl -mavx512dq -mavx512vbmi
  -mprefer-vector-width=512)
platen_kernel_target(neon     "aarch64")
platen_kernel_target(simd128  "wasm32" -msimd128)

# This build's processor family. Big-endian ARM is none of these: it runs the baseline.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86|x86)$")
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(PLATEN_PROCESSOR x86_64)
  else()
    set(PLATEN_PROCESSOR i686)
  endif()
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64|ARM64)$")
  set(PLATEN_PROCESSOR aarch64)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^wasm32$")
  set(PLATEN_PROCESSOR wasm32)
else()
  set(PLATEN_PROCESSOR other)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/KernelTargetLacks.cmake)

# Announces a family of kernels, from the folder above its kernels/: <family>_<target>.cpp for every target.
#
#   platen_kernels(SharpRow)
#   platen_kernels(HorzPlan ONLY baseline avx2)   the others take the nearest plainer target's
#   platen_kernels(VertPass SMALL simd128)        compiled for size there: for sources that leave no loop to the
#                                                 compiler's vectoriser
function(platen_kernels family)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "ONLY;SMALL")
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/kernels)
  set_property(GLOBAL APPEND PROPERTY PLATEN_KERNEL_FAMILIES ${folder}/${family})
  set_property(GLOBAL PROPERTY PLATEN_KERNELS_ONLY_${folder}/${family} "${arg_ONLY}")
  set_property(GLOBAL PROPERTY PLATEN_KERNELS_SMALL_${folder}/${family} "${arg_SMALL}")
endfunction()

# Adds the families' files to platen-objects and writes the list of this build's targets for the sources. Called once,
# after every family was announced. Sets for the tests
#
#   PLATEN_KERNEL_FAMILIES           the families that every target has, as platen_target_lacks takes them
#   PLATEN_KERNEL_TARGETS_EXPECTED   the targets for this processor
#   PLATEN_KERNEL_TARGETS_BUILT      those of them that are complete: the others are left out
#
# -O3 is for the loops' sake: at -O2 the compilers of the day do not vectorise them. -fno-trapping-math lets
# selections of floating-point quotients be vectorised; it changes no value.
function(platen_finish_kernels)
  get_property(families GLOBAL PROPERTY PLATEN_KERNEL_FAMILIES)
  set(whole "")
  foreach(family ${families})
    get_property(only GLOBAL PROPERTY PLATEN_KERNELS_ONLY_${family})
    if(NOT only)
      list(APPEND whole ${family})
    endif()
  endforeach()

  set(expected "")
  set(built "")
  foreach(target ${PLATEN_KERNEL_TARGETS})
    set(runs ${PLATEN_KERNEL_PROCESSORS_${target}})
    if(PLATEN_REFERENCE_KERNELS OR NOT ("any" IN_LIST runs OR PLATEN_PROCESSOR IN_LIST runs))
      continue()
    endif()
    list(APPEND expected ${target})
    platen_target_lacks(${PROJECT_SOURCE_DIR} ${target} "${whole}" lacks)
    if(lacks)
      list(JOIN lacks "\n  " lines)
      message(WARNING "platen: the kernel target ${target} is left out. It lacks\n  ${lines}")
    else()
      list(APPEND built ${target})
    endif()
  endforeach()

  set(PLATEN_EACH_TARGET "")
  set(PLATEN_FAMILY_CHOICES "")
  foreach(target ${built})
    string(APPEND PLATEN_EACH_TARGET " X(${target})")
    foreach(family ${families})
      get_filename_component(name ${family} NAME)
      get_property(only GLOBAL PROPERTY PLATEN_KERNELS_ONLY_${family})
      if(NOT only OR target IN_LIST only)
        set(source ${PROJECT_SOURCE_DIR}/${family}_${target}.cpp)
        get_property(small GLOBAL PROPERTY PLATEN_KERNELS_SMALL_${family})
        set(level -O3)
        if(target IN_LIST small)
          set(level -Os)
        endif()
        target_sources(platen-objects PRIVATE ${source})
        set_source_files_properties(${source} TARGET_DIRECTORY platen-objects PROPERTIES
          COMPILE_OPTIONS "${level};-fno-trapping-math;${PLATEN_KERNEL_FLAGS_${target}}")
        set(choice_${name} ${target})
      endif()
      string(APPEND PLATEN_FAMILY_CHOICES "#define PLATEN_${name}_${target} ${choice_${name}}\n")
    endforeach()
  endforeach()
  set(generated ${PROJECT_BINARY_DIR}/generated)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/KernelTargets.h.in ${generated}/Sources/Dispatch/KernelTargets.h @ONLY)
  target_include_directories(platen-objects PUBLIC ${generated})
  set(PLATEN_KERNEL_FAMILIES "${whole}" PARENT_SCOPE)
  set(PLATEN_KERNEL_TARGETS_EXPECTED "${expected}" PARENT_SCOPE)
  set(PLATEN_KERNEL_TARGETS_BUILT "${built}" PARENT_SCOPE)
endfunction()
