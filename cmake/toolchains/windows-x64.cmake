# 64-bit Windows. Its programs run here under Wine.
set(PLATEN_TRIPLE x86_64-w64-mingw32)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
find_program(PLATEN_WINE NAMES wine64 PATHS /usr/lib/wine)
if(PLATEN_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${PLATEN_WINE})
endif()
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
