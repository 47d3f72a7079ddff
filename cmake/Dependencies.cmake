# The libraries that the engine links on every target, each under one name:
#   ZLIB::ZLIB, BZip2::BZip2, LibArchive::LibArchive, libdeflate::libdeflate
# so that code includes <zlib.h>, <bzlib.h>, <archive.h> and <libdeflate.h> alike
# everywhere.
#
# A native Linux build takes them from Debian's -dev packages. A build whose
# toolchain file names a CRATEWERK_THIRD_PARTY_TARGET (the mingw-w64 builds, the
# 32-bit Linux build) takes static libraries: libbz2, libdeflate and libarchive
# that third_party/build.sh makes from pinned Debian sources, once, under
# build/third_party; zlib from Debian's libz-mingw-w64-dev or lib32z1-dev.
# Static libraries keep the plug-in a single file that imports system DLLs only.

if(NOT CRATEWERK_THIRD_PARTY_TARGET)
  find_package(ZLIB REQUIRED)
  find_package(BZip2 REQUIRED)
  find_package(LibArchive REQUIRED)
  find_path(LIBDEFLATE_INCLUDE_DIR libdeflate.h REQUIRED)
  find_library(LIBDEFLATE_LIBRARY deflate REQUIRED)
  add_library(libdeflate::libdeflate UNKNOWN IMPORTED)
  set_target_properties(libdeflate::libdeflate PROPERTIES
    IMPORTED_LOCATION ${LIBDEFLATE_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${LIBDEFLATE_INCLUDE_DIR})
  return()
endif()

set(CRATEWERK_THIRD_PARTY_DIR ${PROJECT_SOURCE_DIR}/build/third_party
    CACHE PATH "Where third_party/build.sh keeps sources and the libraries of each target")
set(third_party ${CRATEWERK_THIRD_PARTY_DIR}/${CRATEWERK_THIRD_PARTY_TARGET})
execute_process(
  COMMAND bash ${PROJECT_SOURCE_DIR}/third_party/build.sh ${CRATEWERK_THIRD_PARTY_TARGET} ${CRATEWERK_THIRD_PARTY_DIR}
  RESULT_VARIABLE third_party_result)
if(NOT third_party_result EQUAL 0)
  message(FATAL_ERROR "The libraries for ${CRATEWERK_THIRD_PARTY_TARGET} could not be built (see above).")
endif()
# A change of recipe or versions builds them again at the next build.
set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/third_party/build.sh ${PROJECT_SOURCE_DIR}/third_party/VERSIONS)

if(WIN32)
  set(zlib_archive /usr/${CRATEWERK_THIRD_PARTY_TARGET}/lib/libz.a)
else()
  set(zlib_archive /usr/lib32/libz.a)
endif()
if(NOT EXISTS ${zlib_archive})
  message(FATAL_ERROR "${zlib_archive} is missing: run tools/setup.sh.")
endif()

# zlib.h sits in the compiler's own include folder, which needs no mention.
add_library(ZLIB::ZLIB STATIC IMPORTED)
set_target_properties(ZLIB::ZLIB PROPERTIES IMPORTED_LOCATION ${zlib_archive})

add_library(BZip2::BZip2 STATIC IMPORTED)
set_target_properties(BZip2::BZip2 PROPERTIES
  IMPORTED_LOCATION ${third_party}/lib/libbz2.a
  INTERFACE_INCLUDE_DIRECTORIES ${third_party}/include)

add_library(libdeflate::libdeflate STATIC IMPORTED)
set_target_properties(libdeflate::libdeflate PROPERTIES
  IMPORTED_LOCATION ${third_party}/lib/libdeflate.a
  INTERFACE_INCLUDE_DIRECTORIES ${third_party}/include)

add_library(LibArchive::LibArchive STATIC IMPORTED)
set_target_properties(LibArchive::LibArchive PROPERTIES
  IMPORTED_LOCATION ${third_party}/lib/libarchive.a
  INTERFACE_INCLUDE_DIRECTORIES ${third_party}/include
  INTERFACE_LINK_LIBRARIES "BZip2::BZip2;ZLIB::ZLIB")
if(WIN32)
  # archive.h declares its functions as DLL imports unless told otherwise.
  set_property(TARGET LibArchive::LibArchive PROPERTY INTERFACE_COMPILE_DEFINITIONS LIBARCHIVE_STATIC)
endif()
