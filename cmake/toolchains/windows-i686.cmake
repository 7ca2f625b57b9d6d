# 32-bit Windows by mingw-w64; what is built runs under a 32-bit Wine where that is installed.
set(KXCORE7_PROCESSOR i686)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
find_program(KXCORE7_WINE32 NAMES wine wine32 PATHS /usr/lib/wine NO_DEFAULT_PATH)
if(KXCORE7_WINE32)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${KXCORE7_WINE32})
endif()
