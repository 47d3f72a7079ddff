#include "plugin/FSObject_Win.h"

#include <windows.h>

#include <cstdio>

namespace fsobject {

Attributes attributes(const char* path) {
    Attributes a;
    DWORD attr = GetFileAttributesA(path);
    if (attr == INVALID_FILE_ATTRIBUTES) return a;
    a.exists = true;
    a.isDirectory = (attr & FILE_ATTRIBUTE_DIRECTORY) != 0;
    a.readOnly = (attr & FILE_ATTRIBUTE_READONLY) != 0;
    return a;
}

int32_t deleteFile(const char* path) { return DeleteFileA(path) ? 0 : static_cast<int32_t>(GetLastError()); }

int32_t deleteTree(const char* folder) {
    char pattern[MAX_PATH + 8];
    std::snprintf(pattern, sizeof pattern, "%s\\*.*", folder);
    WIN32_FIND_DATAA data;
    HANDLE find = FindFirstFileA(pattern, &data);
    if (find == INVALID_HANDLE_VALUE) return -1;
    do {
        if (lstrcmpA(data.cFileName, ".") == 0 || lstrcmpA(data.cFileName, "..") == 0) continue;
        char entry[MAX_PATH + 8];
        std::snprintf(entry, sizeof entry, "%s\\%s", folder, data.cFileName);
        if (data.dwFileAttributes & FILE_ATTRIBUTE_READONLY)
            SetFileAttributesA(entry, data.dwFileAttributes & ~FILE_ATTRIBUTE_READONLY);
        if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
            deleteTree(entry);
        else
            DeleteFileA(entry);
    } while (FindNextFileA(find, &data));
    FindClose(find);
    // The attributes tested and written here are those of the last entry seen.
    if (data.dwFileAttributes & FILE_ATTRIBUTE_READONLY)
        SetFileAttributesA(folder, data.dwFileAttributes & ~FILE_ATTRIBUTE_READONLY);
    return RemoveDirectoryA(folder) ? 0 : static_cast<int32_t>(GetLastError());
}

} // namespace fsobject
