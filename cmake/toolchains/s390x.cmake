# IBM Z: 64 bits, big endian, fused multiply-add in hardware (-ffp-contract=off keeps it out).
set(PLATEN_TRIPLE s390x-linux-gnu)
set(PLATEN_LOADER ld64.so.1)
set(CMAKE_SYSTEM_PROCESSOR s390x)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-s390x-static)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
