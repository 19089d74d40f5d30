# Kernel files: <name>_<target>.cpp, each built with its target's flags. A variable of the calling folder, since
# source properties are a folder's own.
#
#   platen_kernels(SharpRow baseline avx2 avx512)
#
# -O3 is for the loops' sake: at -O2 the compilers of the day do not vectorise them. -fno-trapping-math lets
# selections of floating-point quotients be vectorised; it changes no value. Files of targets that this processor
# family lacks are left out.
function(platen_kernels name)
  if(PLATEN_REFERENCE_KERNELS)
    return()
  endif()
  set(flags_baseline "")
  set(flags_avx2 -mavx2 -mpopcnt)
  set(flags_avx512 -mpopcnt -mavx512f -mavx512bw -mavx512vl -mavx512dq -mavx512vbmi -mprefer-vector-width=512)
  foreach(target ${ARGN})
    if(target MATCHES "^avx" AND NOT (CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8))
      continue()
    endif()
    set(source ${CMAKE_CURRENT_SOURCE_DIR}/${name}_${target}.cpp)
    target_sources(platen-objects PRIVATE ${source})
    set_source_files_properties(${source} TARGET_DIRECTORY platen-objects PROPERTIES
      COMPILE_OPTIONS "-O3;-fno-trapping-math;${flags_${target}}")
  endforeach()
endfunction()
