# 64-bit Windows: the build whose tests run under Wine (wine64).
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CRATEWERK_MINGW_TRIPLE x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw-common.cmake)

find_program(CRATEWERK_WINE64 NAMES wine64 PATHS /usr/lib/wine /usr/lib64/wine /opt/wine-stable/bin NO_DEFAULT_PATH)
if(NOT CRATEWERK_WINE64)
  find_program(CRATEWERK_WINE64 NAMES wine64 wine)
endif()
if(CRATEWERK_WINE64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CRATEWERK_WINE64})
endif()
