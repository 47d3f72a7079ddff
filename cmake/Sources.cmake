# cratewerk_sources(VAR DIR): the .cpp files below DIR (relative to the project)
# for the target platform.
# A module ending in .w32.cpp is built for Windows only, one ending in
# .posix.cpp for Linux and macOS only.
function(cratewerk_sources var dir)
  file(GLOB_RECURSE found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${dir}/*.cpp)
  if(WIN32)
    list(FILTER found EXCLUDE REGEX "\\.posix\\.cpp$")
  else()
    list(FILTER found EXCLUDE REGEX "\\.w32\\.cpp$")
  endif()
  set(${var} ${found} PARENT_SCOPE)
endfunction()
