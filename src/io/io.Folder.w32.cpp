#include <windows.h>

#include <algorithm>

#include "io/io.Exception.h"
#include "io/io.Folder.h"
#include "io/io.LongPath.h"
#include "io/io.Path.h"

namespace io {

bool Folder::makeOne(const std::string& path) {
    return longpath::createDirectory(path) || (GetLastError() == ERROR_ALREADY_EXISTS && Path::directory(path));
}

std::vector<Folder::Entry> Folder::list(const std::string& path) {
    std::string prefix = path;
    if (!prefix.empty() && prefix.back() != '\\' && prefix.back() != '/') prefix += '\\';
    WIN32_FIND_DATAA data;
    HANDLE search = longpath::findFirst(prefix + "*", data);
    if (search == INVALID_HANDLE_VALUE) throw InputException("io::Folder::list() cannot read " + path);
    std::vector<Entry> entries;
    do {
        std::string name = data.cFileName;
        if (name == "." || name == "..") continue;
        entries.push_back(Entry{name, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0,
                                (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0});
    } while (FindNextFileA(search, &data));
    FindClose(search);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return entries;
}

} // namespace io
