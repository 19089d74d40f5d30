# What the toolchain files of this folder share: Debian's cross compiler for PLATEN_TRIPLE. The programs name the
# target's own loader and libraries, which Debian puts below /usr/<triple>, so that they run (under an emulator, or
# on the processor itself) without a root file system of the target.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_CXX_COMPILER ${PLATEN_TRIPLE}-g++)
set(PLATEN_TARGET_LIB /usr/${PLATEN_TRIPLE}/lib)
# The old tag: it counts for the libraries' libraries too.
string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,--dynamic-linker=${PLATEN_TARGET_LIB}/${PLATEN_LOADER}"
  " -Wl,--disable-new-dtags -Wl,-rpath,${PLATEN_TARGET_LIB}")

# The target's folder only: GoogleTest and whatever else this machine has are of the wrong kind.
set(CMAKE_FIND_ROOT_PATH /usr/${PLATEN_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
