#include <windows.h>

#include "io/io.Exception.h"
#include "io/io.Path.h"
#include "io/io.LongPath.h"

namespace io {

bool Path::exists(const std::string& path) {
    return longpath::attributes(path) != INVALID_FILE_ATTRIBUTES;
}

bool Path::directory(const std::string& path) {
    if (path.empty()) return false;
    DWORD attributes = longpath::attributes(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void Path::makeDirectory(const std::string& path) {
    if (longpath::createDirectory(path)) return;
    if (GetLastError() == ERROR_ALREADY_EXISTS && directory(path)) return;
    throw Exception("cannot create (directory) " + path);
}

bool Path::fullPath(const std::string& path, std::string& result) {
    char buffer[maxSize];
    DWORD length = GetFullPathNameA(path.c_str(), maxSize, buffer, nullptr);
    if (length == 0 || length >= maxSize) return false;
    result.assign(buffer, length);
    return true;
}

} // namespace io

namespace io {

bool Path::link(const std::string& path) {
    if (path.empty()) return false;
    DWORD attributes = longpath::attributes(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

bool Path::link(const std::string& path, bool& exists) {
    DWORD attributes = path.empty() ? INVALID_FILE_ATTRIBUTES : longpath::attributes(path);
    exists = attributes != INVALID_FILE_ATTRIBUTES;
    return exists && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

} // namespace io

namespace io {

void Path::hardLink(const std::string& existing, const std::string& path) {
    if (!longpath::createHardLink(path, existing)) throw OutputException("io::Path::hardLink() cannot link " + path);
}

} // namespace io
