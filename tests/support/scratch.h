#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <sstream>
#include <string>

#include "support/files.h"

#ifndef _WIN32
#include <sys/stat.h>
#endif

namespace test {

// A fresh folder below the system's temporary folder, removed with everything
// in it when the test is done (locked items are unlocked first, and on Windows
// the walk steps around stream files that std::filesystem cannot take). Every test
// program takes its scratch folders from here.
class Scratch {
public:
    explicit Scratch(const std::string& prefix = "cratewerk-test-") {
        namespace fs = std::filesystem;
        std::random_device seed;
        const fs::path base = fs::temp_directory_path();
        for (;;) {
            path_ = base / (prefix + std::to_string(seed()));
            if (fs::create_directory(path_)) break;
        }
        path_ = fs::canonical(path_);
    }
    ~Scratch() { removeTree(path_.string()); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string path(const std::string& relative) const { return *this / relative; }
    std::string str() const { return path_.string(); }
    // A name below the folder, written with "/", in the platform's form.
    // The join is made on the bytes: a name in the ANSI code page must not be
    // taken through std::filesystem's conversion, which would turn it to UTF-8.
    std::string operator/(const std::string& relative) const {
#ifdef _WIN32
        const char separator = '\\';
#else
        const char separator = '/';
#endif
        std::string joined = str();
        joined += separator;
        for (char c : relative) joined += c == '/' ? separator : c;
        return joined;
    }
    // Writes a file below the folder, with the folders above it; answers its path.
    std::string write(const std::string& relative, const std::string& bytes) const {
        const std::string where = *this / relative;
        std::filesystem::create_directories(std::filesystem::path(where).parent_path());
        std::ofstream out(where, std::ios::binary);
        out << bytes;
        return where;
    }
    static std::string read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::stringstream bytes;
        bytes << in.rdbuf();
        return bytes.str();
    }

private:
    std::filesystem::path path_;
};

// What treeOf() shows besides each file and its bytes.
enum TreeShows : int { kFolders = 1, kLinks = 2, kModes = 4 };

// Every item below `root` by its path relative to it, written with "/": a
// file with its bytes; with kFolders a folder, as its name and "/", with
// nothing; with kLinks a link, not followed, as "-> " and its target; with
// kModes (POSIX) a file's permission bits and modification time before its
// bytes. Nothing where `root` is missing.
inline std::map<std::string, std::string> treeOf(const std::filesystem::path& root, int shows = kFolders) {
    namespace fs = std::filesystem;
    std::map<std::string, std::string> tree;
    if (!fs::exists(root)) return tree;
    for (const auto& item : fs::recursive_directory_iterator(root)) {
        const std::string relative = item.path().lexically_relative(root).generic_string();
        if ((shows & kLinks) && item.is_symlink()) {
            tree[relative] = "-> " + fs::read_symlink(item.path()).string();
        } else if (item.is_directory()) {
            if (shows & kFolders) tree[relative + "/"] = "";
        } else if (item.is_regular_file()) {
            std::string& bytes = tree[relative];
#ifndef _WIN32
            struct stat info {};
            if ((shows & kModes) && lstat(item.path().c_str(), &info) == 0)
                bytes = std::to_string(info.st_mode & 0777) + " " + std::to_string(info.st_mtime) + " ";
#endif
            bytes += Scratch::read(item.path().string());
        }
    }
    return tree;
}

}  // namespace test
