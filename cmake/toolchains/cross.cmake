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
# PLATEN_TARGET_ROOT: a folder with the target's packages unpacked, for the tool's image libraries
# (scripts/check/aarch64-tool). The C library is that of the cross compiler all the same.
if(PLATEN_TARGET_ROOT)
  list(APPEND CMAKE_FIND_ROOT_PATH ${PLATEN_TARGET_ROOT})
  list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PLATEN_TARGET_ROOT)
  set(CMAKE_LIBRARY_ARCHITECTURE ${PLATEN_TRIPLE})
  set(folder ${PLATEN_TARGET_ROOT}/usr/lib/${PLATEN_TRIPLE})
  set(folders ${folder}:${PLATEN_TARGET_ROOT}/lib/${PLATEN_TRIPLE})
  string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,-rpath,${folders}")
  foreach(kind EXE SHARED MODULE)
    string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -Wl,-rpath-link,${folders}")
  endforeach()
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${PLATEN_TARGET_ROOT})
  set(ENV{PKG_CONFIG_LIBDIR} ${folder}/pkgconfig:${PLATEN_TARGET_ROOT}/usr/share/pkgconfig)
endif()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
