#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include "io/io.Exception.h"
#include "io/io.Path.h"

namespace io {

bool Path::exists(const std::string& path) {
    struct stat st;
    return !path.empty() && ::lstat(path.c_str(), &st) == 0;
}

bool Path::directory(const std::string& path) {
    struct stat st;
    return !path.empty() && ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

void Path::makeDirectory(const std::string& path) {
    if (::mkdir(path.c_str(), 0777) == 0) return;
    if (errno == EEXIST && directory(path)) return;
    throw Exception("cannot create (directory) " + path);
}

// The lexical rule: join to the working folder and fold "." and ".."; links
// are not resolved. The answer must fit maxSize with its terminating NUL.
bool Path::fullPath(const std::string& path, std::string& result) {
    std::string joined;
    if (path.empty() || path[0] != '/') {
        std::vector<char> buffer(maxSize + 1);
        if (::getcwd(buffer.data(), buffer.size()) == nullptr) return false;
        joined = buffer.data();
        joined += '/';
    }
    joined += path;

    std::vector<std::string> parts;
    std::string::size_type start = 0;
    while (start <= joined.size()) {
        std::string::size_type stop = joined.find('/', start);
        if (stop == std::string::npos) stop = joined.size();
        std::string part = joined.substr(start, stop - start);
        if (part == "..") {
            if (!parts.empty()) parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        start = stop + 1;
    }
    std::string folded;
    for (const std::string& part : parts) {
        folded.push_back('/');
        folded.append(part);
    }
    if (folded.empty() || (path.size() > 1 && path.back() == '/')) folded.push_back('/');
    if (folded.size() >= maxSize) return false;
    result = folded;
    return true;
}

} // namespace io

namespace io {

bool Path::link(const std::string& path) {
    struct stat st;
    return !path.empty() && ::lstat(path.c_str(), &st) == 0 && S_ISLNK(st.st_mode);
}

bool Path::link(const std::string& path, bool& exists) {
    struct stat st;
    exists = !path.empty() && ::lstat(path.c_str(), &st) == 0;
    return exists && S_ISLNK(st.st_mode);
}

} // namespace io

namespace io {

void Path::hardLink(const std::string& existing, const std::string& path) {
    // linkat without AT_SYMLINK_FOLLOW links a symbolic link itself on every
    // POSIX system; plain link() follows it on some.
    if (::linkat(AT_FDCWD, existing.c_str(), AT_FDCWD, path.c_str(), 0) != 0)
        throw OutputException("io::Path::hardLink() cannot link " + path);
}

} // namespace io
