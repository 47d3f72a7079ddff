#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace io {

// Static operations on path strings in the form of the platform: "\" on
// Windows, "/" on POSIX. Failures are io::Exception of the kind "I/O".
class Path {
public:
#ifdef _WIN32
    static constexpr char separator = '\\';
    static constexpr uint32_t maxSize = 260;
#else
    static constexpr char separator = '/';
    static constexpr uint32_t maxSize = 4096;
#endif
    // Longest single component a name may have on disk.
    static constexpr uint32_t maxComponent = 255;
    // Names stored in archives are split at either character on every platform.
    static constexpr const char* separators = "\\/";

    // Whether anything is known at the path. On POSIX a dangling symbolic
    // link exists too, as it does for the attributes call on Windows.
    static bool exists(const std::string& path);
    // Whether the path names a folder (following a link at its end).
    static bool directory(const std::string& path);
    // Whether the path itself is a symbolic link (a reparse point on Windows).
    static bool link(const std::string& path);
    // The same, with one look-up that also tells whether anything is there.
    static bool link(const std::string& path, bool& exists);
    // Makes `path` a second name of the file `existing` (a hard link): both
    // name the same data from then on. A symbolic link at `existing` is
    // linked itself, never followed. Fails where `path` is taken or the file
    // system holds no hard links.
    static void hardLink(const std::string& existing, const std::string& path);
    // Creates the folder and every missing folder above it; "" does nothing.
    static void createDirectory(const std::string& path);
    // Creates the folder that would hold `path`; "" does nothing.
    static void createDirectoryFor(const std::string& path);
    // The folder part of `path`; "" gives "".
    static std::string getDirectoryFor(const std::string& path);
    // TEMP, else TMP, else ".".
    static std::string tempDirectory();
    // Replaces the path with its full form; "" stands for ".".
    static void makeAbsolute(std::string& path);
    // Removes the bytes that pathChar refuses (separators stay); true if it changed anything.
    static bool normalize(std::string& path);
    // Turns a path that exists into a free one "name_n.ext", n = 1..limit; true if it changed it.
    static bool makeUnique(std::string& path, uint32_t limit);
    // Shortens the path to at most `limit` bytes; true if it changed it.
    static bool truncate(std::string& path, uint32_t limit);
    // Whether a byte may stand in a name.
    static bool pathChar(char c);
    // The length of the multi-byte UTF-8 character that starts at `at`, or 0.
    // On POSIX names are UTF-8, and such a character is kept whole: its bytes
    // are never taken one by one for pathChar. On Windows always 0.
    static size_t multiByteCharacter(const std::string& text, size_t at);

private:
    static void createDirectoryRecursively(const std::string& path);
    static void makeDirectory(const std::string& path);  // one level, platform call
    static bool fullPath(const std::string& path, std::string& result);  // platform call
};

// Takes a path apart into folder, name and extension, lazily and once.
class PathSplitter {
public:
    explicit PathSplitter(std::string path, char separator = Path::separator)
        : path_(std::move(path)), separator_(separator), parsed_(false) {}

    const std::string& path() const { return path_; }
    const std::string& folder() { parse(); return folder_; }
    const std::string& name() { parse(); return name_; }
    const std::string& extension() { parse(); return extension_; }

private:
    void parse();

    std::string path_;
    std::string folder_;
    std::string name_;
    std::string extension_;
    char separator_;
    bool parsed_;
};

// Joins parts with a separator; the reverse of PathSplitter. A separator is
// put between two parts only where neither already has one; empty parts are skipped.
class CompositePath {
public:
    explicit CompositePath(char separator = Path::separator) : separator_(separator) {}

    CompositePath& add(const std::string& part) { parts_.push_back(part); return *this; }
    CompositePath& operator<<(const std::string& part) { return add(part); }
    void removeLast() { if (!parts_.empty()) parts_.pop_back(); }
    void clear() { parts_.clear(); }
    bool empty() const { return parts_.empty(); }
    size_t count() const { return parts_.size(); }
    const std::vector<std::string>& parts() const { return parts_; }

    std::string str() const;
    operator std::string() const { return str(); }

    // folder, separator (when the folder is not empty), name and extension.
    static std::string join(const std::string& folder, const std::string& name, const std::string& extension,
                            char separator = Path::separator);

private:
    std::vector<std::string> parts_;
    char separator_;
};

} // namespace io
