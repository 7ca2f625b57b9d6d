# 64-bit Windows by mingw-w64; what is built runs under Wine where that is installed.
set(KXCORE7_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
find_program(KXCORE7_WINE NAMES wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
if(KXCORE7_WINE)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${KXCORE7_WINE})
endif()
