#pragma once

// Removes a folder of a test with everything in it.
//
// On Windows the walk is made with the file calls and plain string joins, not
// with std::filesystem. Where a volume keeps no named streams (Wine's, for
// one) a resource fork written as "name:AFP_Resource:$DATA" becomes a file
// of that name beside the item. For a one-letter item ("t:AFP_...")
// std::filesystem reads the name as a drive and a relative path, and
// remove_all never gets past it.

#include <string>

#ifdef _WIN32
#include "io/io.LongPath.h"
#else
#include <filesystem>
#endif

namespace test {

inline void removeTree(const std::string& path) {
#ifdef _WIN32
    WIN32_FIND_DATAA found;
    HANDLE find = io::longpath::findFirst(path + "\\*", found);
    if (find != INVALID_HANDLE_VALUE) {
        do {
            const std::string name = found.cFileName;
            if (name == "." || name == "..") continue;
            const std::string child = path + "\\" + name;
            io::longpath::setAttributes(child, FILE_ATTRIBUTE_NORMAL);
            if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
                removeTree(child);
            else
                io::longpath::deleteFile(child);
        } while (FindNextFileA(find, &found));
        FindClose(find);
    }
    io::longpath::setAttributes(path, FILE_ATTRIBUTE_NORMAL);
    io::longpath::removeDirectory(path);
#else
    namespace fs = std::filesystem;
    std::error_code ignored;
    // Folders made read-only by a test must open again to be emptied.
    fs::permissions(path, fs::perms::owner_all, fs::perm_options::add, ignored);
    for (auto it = fs::recursive_directory_iterator(path, ignored);
         !ignored && it != fs::recursive_directory_iterator(); it.increment(ignored))
        if (it->is_directory(ignored) && !it->is_symlink(ignored))
            fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ignored);
    ignored.clear();
    fs::remove_all(path, ignored);
#endif
}

}  // namespace test
