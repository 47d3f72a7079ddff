#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <vector>

#include "io/io.AppleDouble.h"
#include "io/io.Exception.h"
#include "io/io.Path.h"
#include "io/io.ntfs.Rsrc.h"
#include "stream/stream.Array.h"

// The fork and the Finder information live in an AppleDouble file beside the
// data file. The form written here: the 26-byte header, the entry list, then
// entry 9 (32 bytes of Finder information, when there is any) and entry 2
// (the fork) last, so the fork can grow at the end of the file.

namespace io::ntfs {

namespace {

constexpr uint32_t magic = AppleDouble::magic;
constexpr uint32_t version2 = AppleDouble::version2;
constexpr uint32_t finderInfoId = AppleDouble::finderInfoId;
constexpr uint32_t resourceForkId = AppleDouble::resourceForkId;
constexpr uint32_t finderInfoSize = AppleDouble::finderInfoSize;
constexpr uint32_t headerSize = AppleDouble::headerSize;
constexpr uint32_t entrySize = AppleDouble::entrySize;

using Entry = AppleDouble::Entry;

struct Layout {
    std::vector<Entry> entries;
    uint64_t fileSize = 0;

    const Entry* find(uint32_t id) const {
        for (const Entry& e : entries)
            if (e.id == id) return &e;
        return nullptr;
    }
    // The fork is the last entry and ends the file: it may grow in place.
    bool forkAtEnd() const {
        return !entries.empty() && entries.back().id == resourceForkId &&
               uint64_t(entries.back().offset) + entries.back().length == fileSize;
    }
};

void put32(std::vector<char>& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>(v >> shift));
}

bool readAt(int fd, uint64_t offset, char* buffer, size_t count) {
    while (count != 0) {
        ssize_t got = ::pread(fd, buffer, count, off_t(offset));
        if (got == -1 && errno == EINTR) continue;
        if (got <= 0) return false;
        buffer += got;
        offset += uint64_t(got);
        count -= size_t(got);
    }
    return true;
}

bool writeAt(int fd, uint64_t offset, const char* buffer, size_t count) {
    while (count != 0) {
        ssize_t put = ::pwrite(fd, buffer, count, off_t(offset));
        if (put == -1 && errno == EINTR) continue;
        if (put <= 0) return false;
        buffer += put;
        offset += uint64_t(put);
        count -= size_t(put);
    }
    return true;
}

bool parse(int fd, Layout& layout) {
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) return false;
    layout.fileSize = uint64_t(st.st_size);
    unsigned char head[headerSize];
    if (!readAt(fd, 0, reinterpret_cast<char*>(head), sizeof head)) return false;
    const int32_t count = AppleDouble::entryCount(head);
    if (count < 0) return false;
    std::vector<unsigned char> list(size_t(count) * entrySize);
    if (count != 0 && !readAt(fd, headerSize, reinterpret_cast<char*>(list.data()), list.size())) return false;
    return AppleDouble::readEntries(list.data(), uint32_t(count), layout.fileSize, layout.entries);
}

int openSidecar(const std::string& path, int flags) {
    int fd;
    do fd = ::open(Rsrc::sidecar(path).c_str(), flags | O_CLOEXEC | O_NOFOLLOW, 0666);
    while (fd == -1 && errno == EINTR);
    return fd;
}

// Empties the file and writes the header, the Finder information if given
// (32 bytes) and, if `withFork`, the fork. Answers the fork's origin and the
// place of its length in the header.
bool writeFresh(int fd, const char* info, bool withFork, const std::vector<char>& fork, uint64_t& origin,
                uint64_t& lengthField) {
    uint32_t count = (info ? 1 : 0) + (withFork ? 1 : 0);
    std::vector<char> out;
    put32(out, magic);
    put32(out, version2);
    const char filler[] = "Mac OS X        ";
    out.insert(out.end(), filler, filler + 16);
    out.push_back(0);
    out.push_back(static_cast<char>(count));
    uint32_t offset = headerSize + count * entrySize;
    if (info) {
        put32(out, finderInfoId);
        put32(out, offset);
        put32(out, finderInfoSize);
        offset += finderInfoSize;
    }
    if (withFork) {
        lengthField = out.size() + 8;
        put32(out, resourceForkId);
        put32(out, offset);
        put32(out, static_cast<uint32_t>(fork.size()));
        origin = offset;
    }
    if (info) out.insert(out.end(), info, info + finderInfoSize);
    out.insert(out.end(), fork.begin(), fork.end());
    return ::ftruncate(fd, 0) == 0 && writeAt(fd, 0, out.data(), out.size());
}

// Reads the Finder information (32 bytes) and the fork of a parsed file.
bool readParts(int fd, const Layout& layout, std::vector<char>& info, std::vector<char>& fork) {
    info.clear();
    fork.clear();
    if (const Entry* e = layout.find(finderInfoId)) {
        info.assign(finderInfoSize, 0);
        if (!readAt(fd, e->offset, info.data(), std::min(e->length, finderInfoSize))) return false;
    }
    if (const Entry* e = layout.find(resourceForkId)) {
        fork.resize(e->length);
        if (!fork.empty() && !readAt(fd, e->offset, fork.data(), fork.size())) return false;
    }
    return true;
}

// A missing data file is made empty, as the named stream would make it.
// Answers whether this call made it, or -1 if it could not.
int ensureDataFile(const std::string& path) {
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
    if (fd != -1) {
        ::close(fd);
        return 1;
    }
    return errno == EEXIST ? 0 : -1;
}

} // namespace

void Rsrc::open(const std::string& path) {
    usePath(path);
    release();
    origin_ = lengthField_ = 0;
    int fd = openSidecar(path_, O_RDONLY);
    Layout layout;
    if (fd == -1 || !parse(fd, layout) || !layout.forkAtEnd()) {
        if (fd != -1) ::close(fd);
        throw InputException("io::ntfs::Rsrc::open() cannot open the resource fork of " + path_);
    }
    handle_ = fd;
    origin_ = layout.entries.back().offset;
    seek(0);
}

void Rsrc::openRW(const std::string& path) {
    usePath(path);
    release();
    origin_ = lengthField_ = 0;
    int fd = openSidecar(path_, O_RDWR);
    Layout layout;
    bool ok = fd != -1 && parse(fd, layout) && layout.find(resourceForkId) != nullptr;
    if (ok && layout.forkAtEnd()) {
        origin_ = layout.entries.back().offset;
        lengthField_ = headerSize + (layout.entries.size() - 1) * entrySize + 8;
    } else if (ok) {
        // Another program's order: rewrite it in ours, the fork last.
        std::vector<char> info, fork;
        ok = readParts(fd, layout, info, fork) &&
             writeFresh(fd, info.empty() ? nullptr : info.data(), true, fork, origin_, lengthField_);
    }
    if (!ok) {
        if (fd != -1) ::close(fd);
        origin_ = lengthField_ = 0;
        throw InputException("io::ntfs::Rsrc::openRW() cannot open the resource fork of " + path_);
    }
    handle_ = fd;
    seek(0);
}

void Rsrc::create(const std::string& path) {
    usePath(path);
    release();
    origin_ = lengthField_ = 0;
    std::string message = "io::ntfs::Rsrc::create() cannot create the resource fork of " + path_;
    int made = ensureDataFile(path_);
    if (made == -1) throw OutputException(message);
    int fd = openSidecar(path_, O_RDWR | O_CREAT);
    Layout layout;
    std::vector<char> info, fork;
    struct stat st;
    bool ok = fd != -1 && ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    bool newSidecar = ok && st.st_size == 0;
    // Never overwrite a "._" file that is not ours to read.
    if (ok && !newSidecar) ok = parse(fd, layout) && readParts(fd, layout, info, fork);
    fork.clear();
    ok = ok && writeFresh(fd, info.empty() ? nullptr : info.data(), true, fork, origin_, lengthField_);
    if (!ok) {
        if (fd != -1) ::close(fd);
        if (newSidecar) ::unlink(sidecar(path_).c_str());
        if (made == 1) ::unlink(path_.c_str());
        origin_ = lengthField_ = 0;
        throw OutputException(message);
    }
    handle_ = fd;
    seek(0);
}

void Rsrc::write(const char* buffer, uint32_t count) {
    if (buffer == nullptr || count == 0) return;
    try {
        io::File::write(buffer, count);
        if (lengthField_ != 0) {
            uint64_t length = io::File::size() - origin_;
            if (length > UINT32_MAX) throw Exception("");
            std::vector<char> field;
            put32(field, static_cast<uint32_t>(length));
            if (!writeAt(static_cast<int>(handle_), lengthField_, field.data(), field.size())) throw Exception("");
        }
    } catch (const OutputException& e) {
        throw OutputException("io::ntfs::Rsrc::write() cannot write to the resource fork of " + path_, e.diskFull());
    } catch (const io::Exception&) {
        throw OutputException("io::ntfs::Rsrc::write() cannot write to the resource fork of " + path_);
    }
}

void Rsrc::unlink(bool strict) {
    release();
    origin_ = lengthField_ = 0;
    bool ok = ::unlink(path_.c_str()) == 0;
    ::unlink(sidecar(path_).c_str());
    if (!ok && strict) throw Exception("io::ntfs::Rsrc::unlink() cannot delete the resource fork of " + path_);
}

format::data::FileInfo Rsrc::fileInfo() const {
    int fd = openSidecar(path_, O_RDONLY);
    Layout layout;
    const Entry* entry = nullptr;
    if (fd == -1 || !parse(fd, layout) || (entry = layout.find(finderInfoId)) == nullptr ||
        entry->length < format::data::FileInfo::fixed_size()) {
        if (fd != -1) ::close(fd);
        throw InputException("io::ntfs::Rsrc::fileInfo() cannot get Finder information for " + path_);
    }
    char bytes[16];
    bool ok = readAt(fd, entry->offset, bytes, sizeof bytes);
    ::close(fd);
    if (!ok) throw InputException("io::ntfs::Rsrc::fileInfo() cannot read from the resource fork of " + path_);
    format::data::FileInfo info;
    stream::ArrayInput in(bytes, sizeof bytes);
    info.read(in, false);
    return info;
}

void Rsrc::fileInfo(const format::data::FileInfo& info) {
    std::string openMessage = "io::ntfs::Rsrc::fileInfo() cannot set Finder information for " + path_;
    char bytes[finderInfoSize] = {};
    stream::ArrayOutput out(bytes, format::data::FileInfo::fixed_size());
    info.write(out);

    int made = ensureDataFile(path_);
    if (made == -1) throw InputException(openMessage);
    int fd = openSidecar(path_, O_RDWR | O_CREAT);
    Layout layout;
    struct stat st;
    bool fresh = false;
    bool ok = fd != -1 && ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    if (ok && st.st_size == 0)
        fresh = true;
    else if (ok)
        ok = parse(fd, layout);
    if (!ok) {
        if (fd != -1) ::close(fd);
        if (made == 1) ::unlink(path_.c_str());
        throw InputException(openMessage);
    }
    const Entry* entry = layout.find(finderInfoId);
    uint64_t origin = 0, lengthField = 0;
    if (fresh) {
        ok = writeFresh(fd, bytes, false, {}, origin, lengthField);
    } else if (entry != nullptr && entry->length >= format::data::FileInfo::fixed_size()) {
        ok = writeAt(fd, entry->offset, bytes, format::data::FileInfo::fixed_size());
    } else {
        std::vector<char> oldInfo, fork;
        ok = readParts(fd, layout, oldInfo, fork) &&
             writeFresh(fd, bytes, layout.find(resourceForkId) != nullptr, fork, origin, lengthField);
    }
    ::close(fd);
    if (!ok) throw InputException("io::ntfs::Rsrc::fileInfo() cannot read from the resource fork of " + path_);
}

bool Rsrc::hasInfo(const std::string& path) {
    int fd = openSidecar(path, O_RDONLY);
    if (fd == -1) return false;
    Layout layout;
    bool has = parse(fd, layout) && layout.find(finderInfoId) != nullptr;
    ::close(fd);
    return has;
}

} // namespace io::ntfs

namespace io::ntfs {

bool Rsrc::isSidecar(const std::string& path) {
    const std::string::size_type cut = path.rfind(Path::separator);
    const std::string::size_type start = cut == std::string::npos ? 0 : cut + 1;
    if (path.compare(start, 2, "._") != 0 || path.size() <= start + 2) return false;
    struct stat info;
    const std::string owner = path.substr(0, start) + path.substr(start + 2);
    return ::lstat(owner.c_str(), &info) == 0;
}

} // namespace io::ntfs
