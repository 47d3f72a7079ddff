#include <windows.h>

#include "io/io.Exception.h"
#include "io/io.Path.h"

namespace io {

bool Path::exists(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool Path::directory(const std::string& path) {
    if (path.empty()) return false;
    DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

void Path::makeDirectory(const std::string& path) {
    if (CreateDirectoryA(path.c_str(), nullptr)) return;
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
    DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

} // namespace io
