# PowerPC: big endian, long and pointers of 32 bits, fused multiply-add in hardware (-ffp-contract=off keeps it out).
set(PLATEN_TRIPLE powerpc-linux-gnu)
set(PLATEN_LOADER ld.so.1)
set(CMAKE_SYSTEM_PROCESSOR powerpc)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-ppc-static)

# The emulator (7.2) stops at an instruction of the C library's tan. The programs find a copy of libm first that says
# the same with an older instruction; plain-mffs explains.
set(PLATEN_PLAIN_LIBM ${CMAKE_BINARY_DIR}/plain-libm)
if(NOT CMAKE_BINARY_DIR MATCHES "/CMakeFiles/" AND NOT EXISTS ${PLATEN_PLAIN_LIBM}/libm.so.6)
  file(MAKE_DIRECTORY ${PLATEN_PLAIN_LIBM})
  execute_process(
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/plain-mffs /usr/powerpc-linux-gnu/lib/libm.so.6 ${PLATEN_PLAIN_LIBM}/libm.so.6
    COMMAND_ERROR_IS_FATAL ANY)
endif()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath,${PLATEN_PLAIN_LIBM}")
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
