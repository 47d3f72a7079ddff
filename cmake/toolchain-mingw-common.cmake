# Shared part of the mingw-w64 toolchain files. The including file sets
# CRATEWERK_MINGW_TRIPLE (i686-w64-mingw32 or x86_64-w64-mingw32) first.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_VERSION 6.1)

# The posix thread model gives the whole standard library; -static below keeps
# its runtime (winpthread) out of the way, so no mingw DLL has to travel along.
foreach(variant -posix "")
  find_program(CRATEWERK_MINGW_CXX NAMES ${CRATEWERK_MINGW_TRIPLE}-g++${variant})
  find_program(CRATEWERK_MINGW_CC NAMES ${CRATEWERK_MINGW_TRIPLE}-gcc${variant})
endforeach()
set(CMAKE_CXX_COMPILER ${CRATEWERK_MINGW_CXX})
set(CMAKE_C_COMPILER ${CRATEWERK_MINGW_CC})
set(CMAKE_RC_COMPILER ${CRATEWERK_MINGW_TRIPLE}-windres)
# libbz2, libdeflate and libarchive come from third_party/ (cmake/Dependencies.cmake).
set(CRATEWERK_THIRD_PARTY_TARGET ${CRATEWERK_MINGW_TRIPLE})

set(CMAKE_FIND_ROOT_PATH /usr/${CRATEWERK_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# libgcc, libstdc++ and winpthread are linked in: programs, the plug-in and
# test executables run on a bare Windows (or Wine) without mingw's DLLs.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
