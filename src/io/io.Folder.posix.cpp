#include <dirent.h>
#include <errno.h>
#include <sys/stat.h>

#include <algorithm>

#include "io/io.Exception.h"
#include "io/io.Folder.h"
#include "io/io.Path.h"

namespace io {

bool Folder::makeOne(const std::string& path) {
    return ::mkdir(path.c_str(), 0777) == 0 || (errno == EEXIST && Path::directory(path));
}

std::vector<Folder::Entry> Folder::list(const std::string& path) {
    DIR* folder = ::opendir(path.c_str());
    if (folder == nullptr) throw InputException("io::Folder::list() cannot read " + path);
    std::vector<Entry> entries;
    std::string prefix = path;
    if (!prefix.empty() && prefix.back() != '/') prefix += '/';
    while (struct dirent* entry = ::readdir(folder)) {
        std::string name = entry->d_name;
        if (name == "." || name == "..") continue;
        struct stat st;
        std::string full = prefix + name;
        bool link = ::lstat(full.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
        bool directory = ::stat(full.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
        entries.push_back(Entry{name, directory, link});
    }
    ::closedir(folder);
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) { return a.name < b.name; });
    return entries;
}

} // namespace io
