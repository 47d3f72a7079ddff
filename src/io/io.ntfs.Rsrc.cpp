#include "io/io.ntfs.Rsrc.h"

#include <algorithm>

#include "io/io.Exception.h"
#include "io/io.Path.h"

namespace io::ntfs {

void Rsrc::close() {
    origin_ = 0;
    lengthField_ = 0;
    if (!release()) throw Exception("io::ntfs::Rsrc::close() cannot close the resource fork of " + path_);
}

uint32_t Rsrc::read(char* buffer, uint32_t count) {
    try {
        return io::File::read(buffer, count);
    } catch (const io::Exception&) {
        throw InputException("io::ntfs::Rsrc::read() cannot read from the resource fork of " + path_);
    }
}

uint64_t Rsrc::tell() const {
    if (!isOpen()) return 0;
    try {
        return io::File::tell() - origin_;
    } catch (const io::Exception&) {
        throw Exception("io::ntfs::Rsrc::tell() cannot get the position of the resource fork of " + path_);
    }
}

uint64_t Rsrc::size() const {
    if (!isOpen()) return 0;
    try {
        return io::File::size() - origin_;
    } catch (const io::Exception&) {
        throw Exception("io::ntfs::Rsrc::size() cannot determine the size of the resource fork of " + path_);
    }
}

void Rsrc::seek(uint64_t position) { io::random::File::seek(origin_ + position); }

// The filler 0xBC differs from the zeros of stream::Output::resize on purpose.
void Rsrc::resize(uint64_t newSize) {
    if (!isOpen()) return;
    uint64_t current = size();
    if (newSize < current) throw Exception("io::ntfs::Rsrc::resize() cannot truncate its file's resource fork");
    char filler[4096];
    std::fill(std::begin(filler), std::end(filler), static_cast<char>(0xBC));
    for (uint64_t left = newSize - current; left != 0;) {
        uint32_t step = static_cast<uint32_t>(std::min<uint64_t>(left, sizeof filler));
        write(filler, step);
        left -= step;
    }
}

std::string Rsrc::sidecar(const std::string& path) {
    std::string::size_type cut = path.rfind(Path::separator);
    if (cut == std::string::npos) return "._" + path;
    return path.substr(0, cut + 1) + "._" + path.substr(cut + 1);
}

} // namespace io::ntfs
