#include "plugin/FSObject_Win.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace fsobject {

namespace {

bool writable(mode_t mode) { return (mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0; }

} // namespace

// A symbolic link counts as what it points to, like a Windows link, but is
// flagged so that deletion removes the link and never what lies behind it.
Attributes attributes(const char* path) {
    Attributes a;
    struct stat st;
    if (lstat(path, &st) != 0) return a;
    a.exists = true;
    a.isLink = S_ISLNK(st.st_mode);
    if (a.isLink) {
        struct stat target;
        if (stat(path, &target) == 0) st = target;
    }
    a.isDirectory = S_ISDIR(st.st_mode);
    a.readOnly = !writable(st.st_mode);
    return a;
}

int32_t deleteFile(const char* path) { return unlink(path) == 0 ? 0 : errno; }

int32_t deleteTree(const char* folder) {
    DIR* dir = opendir(folder);
    if (!dir) return -1;
    bool lastReadOnly = false;
    while (struct dirent* entry = readdir(dir)) {
        std::string n = entry->d_name;
        if (n == "." || n == "..") continue;
        std::string full = std::string(folder) + "/" + n;
        struct stat st;
        if (lstat(full.c_str(), &st) != 0) continue;
        lastReadOnly = !writable(st.st_mode);
        if (lastReadOnly && !S_ISLNK(st.st_mode)) chmod(full.c_str(), st.st_mode | S_IWUSR);
        // Failures here are passed over; the folder's removal reports them.
        if (S_ISDIR(st.st_mode))
            deleteTree(full.c_str());
        else
            unlink(full.c_str());
    }
    closedir(dir);
    if (lastReadOnly) {
        struct stat st;
        if (stat(folder, &st) == 0) chmod(folder, st.st_mode | S_IWUSR);
    }
    return rmdir(folder) == 0 ? 0 : errno;
}

} // namespace fsobject
