#include "io/io.Path.h"

#include <cstdlib>

#include "io/io.Exception.h"

namespace io {

bool Path::pathChar(char c) {
    unsigned char b = static_cast<unsigned char>(c);
    if (b <= 0x1F) return false;
    switch (b) {
        case 0x22: case 0x2A: case 0x2F: case 0x3C: case 0x3E: case 0x3F: case 0x7C:
        case 0x81: case 0x8D: case 0x8E: case 0x8F: case 0x90: case 0x9D: case 0x9E: case 0xBF:
            return false;
        default:
            return true;
    }
}

bool Path::normalize(std::string& path) {
    std::string clean;
    clean.reserve(path.size());
    for (char c : path)
        if (pathChar(c) || c == separator) clean += c;
    bool changed = clean != path;
    path = std::move(clean);
    return changed;
}

void Path::createDirectory(const std::string& path) {
    if (path.empty()) return;
    createDirectoryRecursively(path);
}

void Path::createDirectoryFor(const std::string& path) {
    if (path.empty()) return;
    std::string folder = PathSplitter(path).folder();
    if (folder.empty() || directory(folder)) return;
    createDirectoryRecursively(folder);
}

std::string Path::getDirectoryFor(const std::string& path) {
    if (path.empty()) return path;
    return PathSplitter(path).folder();
}

std::string Path::tempDirectory() {
    for (const char* name : {"TEMP", "TMP"}) {
        const char* value = std::getenv(name);
        if (value != nullptr && *value != '\0') return value;
    }
    return ".";
}

void Path::createDirectoryRecursively(const std::string& path) {
#ifdef _WIN32
    if (path.size() == 2 && path[1] == ':') return;  // a bare drive
#endif
    if (directory(path)) return;
    std::string::size_type last = path.rfind(separator);
    if (last == 0) last = std::string::npos;  // the root itself is never created
    if (last != std::string::npos && last > 0) createDirectoryRecursively(path.substr(0, last));
    makeDirectory(path);
}

void Path::makeAbsolute(std::string& path) {
    std::string copy = path.empty() ? std::string(".") : path;
    std::string result;
    if (!fullPath(copy, result)) {
        std::string shorter = path;
        bool changed = false;
        try {
            changed = truncate(shorter, maxSize - 1);
        } catch (const Exception&) {
        }
        if (!changed || !fullPath(shorter, result)) throw Exception("cannot resolve " + path + " to an absolute name");
    }
    path = result;
}

bool Path::makeUnique(std::string& path, uint32_t limit) {
    if (!exists(path)) return false;
    PathSplitter split(path);
    for (uint32_t n = 1; n <= limit; ++n) {
        std::string candidate =
            CompositePath::join(split.folder(), split.name() + "_" + std::to_string(n), split.extension());
        if (!exists(candidate)) {
            path = candidate;
            return true;
        }
    }
    throw Exception("io::Path::makeUnique() cannot resolve name conflict for " + path);
}

// The extension survives only where at least seven bytes of the name survive
// with it; below that the path is cut blindly at the limit.
bool Path::truncate(std::string& path, uint32_t limit) {
    if (path.size() <= limit) return false;
    PathSplitter split(path);
    std::string folder = split.folder();
    // A path without a folder stays relative: no separator is put in front of it.
    if (!folder.empty() || path[0] == separator) folder += separator;
    const std::string& name = split.name();
    const std::string& extension = split.extension();
    if (limit < folder.size() + 6) throw Exception("cannot truncate " + path);
    std::string result = folder;
    if (folder.size() + name.size() + extension.size() > limit) {
        int64_t keep = int64_t(limit) - int64_t(folder.size()) - int64_t(extension.size());
        if (keep < 7)
            result += name;
        else
            result.append(name, 0, size_t(keep));
    } else {
        result += name;
    }
    result += extension;
    if (result.size() > limit) result.resize(limit);
    path = result;
    return true;
}

void PathSplitter::parse() {
    if (parsed_) return;
    parsed_ = true;
    std::string::size_type cut = path_.rfind(separator_);
    if (cut == std::string::npos && separator_ == '\\') cut = path_.rfind('/');
    std::string::size_type rest = 0;
    if (cut != std::string::npos) {
        folder_ = path_.substr(0, cut);
        rest = cut + 1;
    }
    std::string::size_type dot = path_.rfind('.');
    if (dot == std::string::npos || dot < rest) {
        name_ = path_.substr(rest);
    } else {
        name_ = path_.substr(rest, dot - rest);
        extension_ = path_.substr(dot);
    }
}

std::string CompositePath::str() const {
    std::string result;
    for (const std::string& part : parts_) {
        if (part.empty()) continue;
        if (!result.empty() && result.back() != separator_ && part.front() != separator_) result += separator_;
        if (!result.empty() && result.back() == separator_ && part.front() == separator_)
            result.append(part, 1, std::string::npos);
        else
            result += part;
    }
    return result;
}

std::string CompositePath::join(const std::string& folder, const std::string& name, const std::string& extension,
                                char separator) {
    std::string result = folder;
    if (!result.empty()) result += separator;
    result += name;
    result += extension;
    return result;
}

} // namespace io
