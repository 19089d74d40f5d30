# What the toolchain files for Windows share: Debian's MinGW-w64 compilers with POSIX threads, for PLATEN_TRIPLE. The
# compiler's runtime is linked into every library and program, so that they need nothing but Windows' own DLLs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${PLATEN_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${PLATEN_TRIPLE}-g++-posix)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")

set(CMAKE_FIND_ROOT_PATH /usr/${PLATEN_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
