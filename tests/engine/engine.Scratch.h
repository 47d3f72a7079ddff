#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "support/files.h"

namespace enginetest {

// A fresh folder under the temporary folder, removed with everything in it.
class Scratch {
public:
    Scratch() {
        std::random_device random;
        path_ = std::filesystem::temp_directory_path() / ("cratewerk-engine-" + std::to_string(random()));
        std::filesystem::create_directories(path_);
        path_ = std::filesystem::canonical(path_);
    }
    ~Scratch() { test::removeTree(path_.string()); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string path() const { return path_.string(); }
    std::string path(const std::string& relative) const { return (path_ / relative).string(); }

    std::string write(const std::string& relative, const std::string& content) const {
        std::filesystem::path where = path_ / relative;
        std::filesystem::create_directories(where.parent_path());
        std::ofstream out(where, std::ios::binary);
        out << content;
        return where.string();
    }

private:
    std::filesystem::path path_;
};

inline std::string join(std::initializer_list<std::string> parts) {
    std::filesystem::path path;
    for (const auto& part : parts) path /= part;
    return path.string();
}

}  // namespace enginetest
