# 32-bit Windows: the target of the host plug-in.
set(CMAKE_SYSTEM_PROCESSOR x86)
set(CRATEWERK_MINGW_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw-common.cmake)
