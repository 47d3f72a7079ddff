#pragma once

#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>

#include "io/io.Exception.h"
#include "io/io.Path.h"
#include "support/files.h"

namespace iotest {

// A fresh folder below the system's temporary folder, removed with its contents.
class Scratch {
public:
    Scratch() {
        std::random_device seed;
        auto base = std::filesystem::temp_directory_path();
        for (;;) {
            root_ = base / ("cratewerk-io-" + std::to_string(seed()));
            if (std::filesystem::create_directory(root_)) break;
        }
    }
    ~Scratch() { test::removeTree(root_.string()); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;

    std::string root() const { return root_.string(); }
    // The root joined with a relative name written with "/", in the platform's form.
    std::string at(const std::string& relative) const {
        std::string path = root();
        if (relative.empty()) return path;
        path += io::Path::separator;
        for (char c : relative) path += c == '/' ? io::Path::separator : c;
        return path;
    }
    void write(const std::string& relative, const std::string& bytes) const {
        std::ofstream out(at(relative), std::ios::binary);
        out << bytes;
    }
    std::string read(const std::string& path) const {
        std::ifstream in(path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), {});
    }

private:
    std::filesystem::path root_;
};

// A path written with "/" in the platform's form.
inline std::string native(std::string path) {
    for (char& c : path)
        if (c == '/') c = io::Path::separator;
    return path;
}

// The message of the exception of class E that `action` throws, or a text
// that says what happened instead. Every failure of this layer is of the kind "I/O".
template <class E>
std::string failure(const std::function<void()>& action) {
    try {
        action();
    } catch (const E& e) {
        if (e.kind() != "I/O") return "kind " + e.kind() + ": " + e.what();
        return e.what();
    } catch (const std::exception& e) {
        return std::string("another exception: ") + e.what();
    }
    return "(nothing thrown)";
}

} // namespace iotest
