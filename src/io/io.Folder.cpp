#include "io/io.Folder.h"

#include "io/io.Exception.h"
#include "io/io.Path.h"

namespace io {

void Folder::create(const std::string& path) {
    usePath(path);
    const std::string& target = path_;
#ifdef _WIN32
    if (target.size() == 2 && target[1] == ':') return;
#endif
    if (Path::directory(target)) return;
    std::string::size_type start = target.find_first_not_of(Path::separator);
    if (start == std::string::npos) return;  // nothing but separators: the root
    for (std::string::size_type cut = target.find(Path::separator, start); cut != std::string::npos;
         cut = target.find(Path::separator, cut + 1)) {
        std::string upper = target.substr(0, cut);
#ifdef _WIN32
        if (upper.size() == 2 && upper[1] == ':') continue;
#endif
        if (!Path::directory(upper) && !makeOne(upper))
            throw Exception("io::Folder::create() cannot create " + target);
    }
    if (!makeOne(target)) throw Exception("io::Folder::create() cannot create " + target);
}

} // namespace io
