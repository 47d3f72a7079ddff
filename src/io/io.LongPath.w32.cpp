#include "io/io.LongPath.h"

namespace io::longpath {

bool needed(const std::string& path) { return path.size() >= plainLimit; }

std::wstring extended(const std::string& path) {
    const int length = MultiByteToWideChar(CP_ACP, 0, path.data(), int(path.size()), nullptr, 0);
    std::wstring wide(size_t(length > 0 ? length : 0), L'\0');
    if (length > 0) MultiByteToWideChar(CP_ACP, 0, path.data(), int(path.size()), wide.data(), length);
    if (wide.rfind(L"\\\\?\\", 0) == 0) return wide;
    // The full form folds "." and "..", and turns "/" into "\", which the
    // "\\?\" form takes literally.
    const DWORD size = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
    if (size == 0) return wide;
    std::wstring full(size, L'\0');
    const DWORD got = GetFullPathNameW(wide.c_str(), size, full.data(), nullptr);
    if (got == 0 || got >= size) return wide;
    full.resize(got);
    if (full.rfind(L"\\\\", 0) == 0) return L"\\\\?\\UNC\\" + full.substr(2);
    return L"\\\\?\\" + full;
}

HANDLE createFile(const std::string& path, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    if (!needed(path)) return CreateFileA(path.c_str(), access, share, nullptr, disposition, flags, nullptr);
    return CreateFileW(extended(path).c_str(), access, share, nullptr, disposition, flags, nullptr);
}

DWORD attributes(const std::string& path) {
    return needed(path) ? GetFileAttributesW(extended(path).c_str()) : GetFileAttributesA(path.c_str());
}

BOOL setAttributes(const std::string& path, DWORD value) {
    return needed(path) ? SetFileAttributesW(extended(path).c_str(), value) : SetFileAttributesA(path.c_str(), value);
}

BOOL createDirectory(const std::string& path) {
    return needed(path) ? CreateDirectoryW(extended(path).c_str(), nullptr) : CreateDirectoryA(path.c_str(), nullptr);
}

BOOL removeDirectory(const std::string& path) {
    return needed(path) ? RemoveDirectoryW(extended(path).c_str()) : RemoveDirectoryA(path.c_str());
}

BOOL deleteFile(const std::string& path) {
    return needed(path) ? DeleteFileW(extended(path).c_str()) : DeleteFileA(path.c_str());
}

BOOL createHardLink(const std::string& path, const std::string& existing) {
    if (!needed(path) && !needed(existing)) return CreateHardLinkA(path.c_str(), existing.c_str(), nullptr);
    return CreateHardLinkW(extended(path).c_str(), extended(existing).c_str(), nullptr);
}

HANDLE findFirst(const std::string& pattern, WIN32_FIND_DATAA& data) {
    if (!needed(pattern)) return FindFirstFileA(pattern.c_str(), &data);
    WIN32_FIND_DATAW wide;
    HANDLE search = FindFirstFileW(extended(pattern).c_str(), &wide);
    if (search == INVALID_HANDLE_VALUE) return search;
    data.dwFileAttributes = wide.dwFileAttributes;
    data.ftCreationTime = wide.ftCreationTime;
    data.ftLastAccessTime = wide.ftLastAccessTime;
    data.ftLastWriteTime = wide.ftLastWriteTime;
    data.nFileSizeHigh = wide.nFileSizeHigh;
    data.nFileSizeLow = wide.nFileSizeLow;
    if (WideCharToMultiByte(CP_ACP, 0, wide.cFileName, -1, data.cFileName, sizeof data.cFileName, "_", nullptr) == 0)
        data.cFileName[0] = '\0';
    if (WideCharToMultiByte(CP_ACP, 0, wide.cAlternateFileName, -1, data.cAlternateFileName,
                            sizeof data.cAlternateFileName, "_", nullptr) == 0)
        data.cAlternateFileName[0] = '\0';
    return search;
}

}  // namespace io::longpath
