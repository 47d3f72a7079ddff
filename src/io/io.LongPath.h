#pragma once

// Windows only: the file calls of the io layer for paths of any length.
// A path shorter than the plain limit goes to the ANSI call as it stands. A
// longer one, which the ANSI calls refuse, goes to the wide call in its
// "\\?\" form (the full path, "\" only, "\\?\UNC\" for a share), which
// Windows takes up to 32,767 characters.

#ifdef _WIN32

#include <windows.h>

#include <string>

namespace io::longpath {

// CreateDirectory leaves 12 characters of MAX_PATH for an 8.3 name.
constexpr size_t plainLimit = MAX_PATH - 12;

bool needed(const std::string& path);
// The "\\?\" form of a path in the ANSI code page.
std::wstring extended(const std::string& path);

HANDLE createFile(const std::string& path, DWORD access, DWORD share, DWORD disposition, DWORD flags);
DWORD attributes(const std::string& path);
BOOL setAttributes(const std::string& path, DWORD attributes);
BOOL createDirectory(const std::string& path);
BOOL removeDirectory(const std::string& path);
BOOL deleteFile(const std::string& path);
BOOL createHardLink(const std::string& path, const std::string& existing);
// The first entry that matches a pattern, with its name in the ANSI code
// page; FindNextFileA goes on from the handle.
HANDLE findFirst(const std::string& pattern, WIN32_FIND_DATAA& data);

}  // namespace io::longpath

#endif
