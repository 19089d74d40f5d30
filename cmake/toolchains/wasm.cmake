# WebAssembly with WASI's C library (Debian: clang, lld, wasi-libc, libc++-dev-wasm32, libclang-rt-dev-wasm32). 32-bit
# pointers and long, 128-bit vectors, no threads, no exceptions, static libraries only. Programs run under Node (live/wasi/run.mjs).
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR wasm32)
set(CMAKE_C_COMPILER clang)
set(CMAKE_C_COMPILER_TARGET wasm32-wasi)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET wasm32-wasi)
set(CMAKE_CXX_FLAGS_INIT "-fno-exceptions -msimd128 -mbulk-memory -D_WASI_EMULATED_SIGNAL -D_WASI_EMULATED_PROCESS_CLOCKS")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-lwasi-emulated-signal -lwasi-emulated-process-clocks")
set(CMAKE_CROSSCOMPILING_EMULATOR node ${CMAKE_CURRENT_LIST_DIR}/../../live/wasi/run.mjs)

# Programs are linked without the compile flags: with an -O among them, clang runs binaryen's wasm-opt where it is
# installed, without naming the features that the module uses, and the link fails.
set(CMAKE_CXX_LINK_EXECUTABLE
  "<CMAKE_CXX_COMPILER> <CMAKE_CXX_LINK_FLAGS> <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")

set(CMAKE_FIND_ROOT_PATH /usr/lib/wasm32-wasi)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
