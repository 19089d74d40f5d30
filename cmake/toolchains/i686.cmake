# 32-bit x86 with SSE2 arithmetic (PlatenCompile.cmake sees to that). x86-64 processors run these programs themselves.
set(PLATEN_TRIPLE i686-linux-gnu)
set(PLATEN_LOADER ld-linux.so.2)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
