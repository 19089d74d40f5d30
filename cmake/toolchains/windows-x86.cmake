# 32-bit Windows, with SSE2 arithmetic (PlatenCompile.cmake sees to that). Debian's 64-bit Wine can't run its programs.
set(PLATEN_TRIPLE i686-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
