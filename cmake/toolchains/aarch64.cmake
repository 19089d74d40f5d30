# 64-bit ARM: little endian, plain char unsigned, fused multiply-add in hardware (-ffp-contract=off keeps it out).
set(PLATEN_TRIPLE aarch64-linux-gnu)
set(PLATEN_LOADER ld-linux-aarch64.so.1)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
