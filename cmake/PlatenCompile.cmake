# Flags for every target of the tree. The floating-point flags are part of the results: without them two
# machines can differ in the last bit, and a truncated table entry then differs by one.

add_compile_options(-ffp-contract=off)
if(CMAKE_CXX_FLAGS MATCHES "-ffast-math|-Ofast")
  message(FATAL_ERROR "platen: -ffast-math and -Ofast change results and are not supported")
endif()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i[3-6]86|x86|x86_64|AMD64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_options(-msse2 -mfpmath=sse)  # x87 registers would round twice
endif()

if(WIN32)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_compile_options(-mstackrealign)  # Windows promises 4 bytes, the compiler takes 16 for granted
  endif()
  # Stacks are aligned to 16 bytes, and GCC spills 32- and 64-byte registers as if they were to more (its bug 54412). The
  # assembler makes every such move one that needs no alignment; tests/windows/stack_test.sh looks at what came of it.
  add_compile_options(-Wa,-muse-unaligned-vector-move)
  add_link_options(-Wl,--no-insert-timestamp)  # the same sources, the same bytes
endif()

if(PLATEN_SANITIZE STREQUAL "asan-ubsan")
  add_compile_options(-fsanitize=address,undefined,float-cast-overflow,float-divide-by-zero
    -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
elseif(PLATEN_SANITIZE STREQUAL "ubsan")
  add_compile_options(-fsanitize=undefined,float-cast-overflow,float-divide-by-zero -fno-sanitize-recover=all)
  add_link_options(-fsanitize=undefined)
elseif(PLATEN_SANITIZE STREQUAL "tsan")
  add_compile_options(-fsanitize=thread)
  add_link_options(-fsanitize=thread)
elseif(PLATEN_SANITIZE STREQUAL "msan")
  add_compile_options(-fsanitize=memory -fsanitize-memory-track-origins -fno-omit-frame-pointer)
  add_link_options(-fsanitize=memory)
elseif(NOT PLATEN_SANITIZE STREQUAL "")
  message(FATAL_ERROR "PLATEN_SANITIZE is '${PLATEN_SANITIZE}'; allowed: asan-ubsan, ubsan, tsan, msan, or empty")
endif()
if(PLATEN_SANITIZE)
  add_compile_options(-g1)  # functions and lines are all that a report names
endif()

# Clang's counters, which know the source's regions and branches (GCC's count the compiler's exception edges too).
# They lie in the profile's file itself (%c in LLVM_PROFILE_FILE), so that an abort, a signal and _exit lose none.
# The tests are instrumented too, since the linker takes one copy of an inline function for all objects.
if(PLATEN_COVERAGE)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "platen: PLATEN_COVERAGE needs Clang")
  endif()
  add_compile_options(-O1 -g0 -fprofile-instr-generate -fcoverage-mapping "SHELL:-mllvm -runtime-counter-relocation")
  add_link_options(-fprofile-instr-generate)
endif()

# The folders of the tree and of the build leave no trace in what is built: the same sources give the same bytes
# (scripts/check/reproducible). Coverage reports need the folders.
if(NOT PLATEN_COVERAGE)
  add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
endif()
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Hardening of optimised builds; tests/abi/hardening_test.sh looks at what came of it.
if(PLATEN_HARDENING AND CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel|None)$"
    AND NOT PLATEN_SANITIZE AND NOT PLATEN_COVERAGE)
  add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong)
  if(WIN32)
    # Addresses are random, data isn't run. Control-flow guard needs a compiler that knows it; GCC doesn't.
    add_link_options(-fstack-protector-strong -Wl,--dynamicbase -Wl,--nxcompat $<$<EQUAL:${CMAKE_SIZEOF_VOID_P},8>:-Wl,--high-entropy-va>)
  else()
    add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
      add_compile_options(-fcf-protection=full)
    endif()
  endif()
endif()

if(PLATEN_LIBFUZZER)
  add_compile_options(-fsanitize=fuzzer-no-link)
  if(PLATEN_SANITIZE STREQUAL "ubsan")  # many runs are what this build is for; following comparisons halves them
    add_compile_options(-fno-sanitize-coverage=trace-cmp)
  endif()
endif()

# One precompiled header of the C++ library for the sources of a target of the program: half of what compiling them takes
# is reading it. FROM another target, with the same optimisation: takes that one's. Sources include what they use, as
# ever; most builds compile them without. Not for GCC 12: out of such a header it sees overflows in std::string.
option(PLATEN_PRECOMPILE "Precompile the headers that most of the program's sources include" OFF)
function(platen_precompile target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "FROM" "")
  if(NOT PLATEN_PRECOMPILE)
    return()
  endif()
  target_compile_options(${target} PRIVATE  # compiler caches need these
    $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess> "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
  if(arg_FROM)
    target_precompile_headers(${target} REUSE_FROM ${arg_FROM})
  else()
    target_precompile_headers(${target} PRIVATE <algorithm> <array> <cstdint> <cstring> <functional> <memory> <optional>
      <string> <string_view> <utility> <vector>)
  endif()
endfunction()

# Warnings for one target.
function(platen_compile_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow -Wdouble-promotion
    $<$<BOOL:${PLATEN_WERROR}>:-Werror>)
  if(PLATEN_REFERENCE_KERNELS)
    target_compile_definitions(${target} PRIVATE PLATEN_REFERENCE_KERNELS)
  endif()
endfunction()
