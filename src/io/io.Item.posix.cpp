#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "io/io.Exception.h"
#include "io/io.Item.h"

namespace io {

namespace {

enum Which { creation, modification, access };

const char* const setTexts[] = {"cannot set the creation time of ", "cannot set the modification time of ",
                                "cannot set the access time of "};

uint64_t toFileTime(int64_t seconds, int64_t nanoseconds) {
    return Item::fileTime(seconds) + uint64_t(nanoseconds / 100);
}

struct timespec toTimespec(uint64_t fileTime) {
    int64_t since = int64_t(fileTime) - int64_t(Item::epoch1970);
    int64_t seconds = since / 10000000, rest = since % 10000000;
    if (rest < 0) {
        rest += 10000000;
        --seconds;
    }
    struct timespec result;
    result.tv_sec = time_t(seconds);
    result.tv_nsec = long(rest * 100);
    return result;
}

uint64_t getTime(const std::string& path, Which which) {
#ifdef STATX_BTIME
    if (which == creation) {
        struct statx sx;
        if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME | STATX_MTIME, &sx) != 0)
            throw Exception("cannot open " + path);
        // A file system that keeps no birth time answers the modification time.
        const struct statx_timestamp& t = (sx.stx_mask & STATX_BTIME) ? sx.stx_btime : sx.stx_mtime;
        return toFileTime(t.tv_sec, t.tv_nsec);
    }
#endif
    struct stat st;
    if (::stat(path.c_str(), &st) != 0) throw Exception("cannot open " + path);
    const struct timespec& t = which == access ? st.st_atim : st.st_mtim;
    return toFileTime(t.tv_sec, t.tv_nsec);
}

void setTime(const std::string& path, Which which, uint64_t value) {
    if (which == creation) {
        // POSIX can't set it; only a missing item is a failure.
        struct stat st;
        if (::stat(path.c_str(), &st) != 0) throw Exception("cannot open " + path);
        return;
    }
    struct timespec times[2];
    times[0].tv_nsec = UTIME_OMIT;
    times[1].tv_nsec = UTIME_OMIT;
    times[which == access ? 0 : 1] = toTimespec(value);
    if (::utimensat(AT_FDCWD, path.c_str(), times, 0) == 0) return;
    if (errno == ENOENT || errno == ENOTDIR) throw Exception("cannot open " + path);
    throw Exception(setTexts[which] + path);
}

} // namespace

uint64_t Item::highResolutionCreationTime() const { return getTime(path_, creation); }
uint64_t Item::highResolutionModificationTime() const { return getTime(path_, modification); }
uint64_t Item::highResolutionAccessTime() const { return getTime(path_, access); }
void Item::highResolutionCreationTime(uint64_t time) { setTime(path_, creation, time); }
void Item::highResolutionModificationTime(uint64_t time) { setTime(path_, modification, time); }
void Item::highResolutionAccessTime(uint64_t time) { setTime(path_, access, time); }

uint32_t Item::permissions() const {
    struct stat st;
    if (::stat(path_.c_str(), &st) != 0) throw Exception("cannot get the attributes of " + path_);
    return st.st_mode & 07777;
}

void Item::permissions(uint32_t mode) {
    if (::chmod(path_.c_str(), mode & 07777) != 0) throw Exception("cannot set the attributes of " + path_);
}

// 0x10 for a folder, 0x01 where no write bit is set, 0x80 for a plain writable file.
uint32_t Item::win32Attributes() const {
    struct stat st;
    if (::stat(path_.c_str(), &st) != 0) throw Exception("cannot get the attributes of " + path_);
    uint32_t attributes = 0;
    if (S_ISDIR(st.st_mode)) attributes |= directoryBit;
    if ((st.st_mode & 0222) == 0) attributes |= readOnlyBit;
    return attributes == 0 ? normal : attributes;
}

// Only the read-only bit has a counterpart: setting it clears every write
// bit, clearing it gives the owner the right to write again.
void Item::win32Attributes(uint32_t attributes) {
    if (attributes == 0) return;
    struct stat st;
    if (::stat(path_.c_str(), &st) != 0) throw Exception("cannot set the attributes of " + path_);
    mode_t mode = st.st_mode & 07777;
    mode_t wanted = (attributes & readOnlyBit) ? mode & ~mode_t(0222) : ((mode & 0222) ? mode : mode | S_IWUSR);
    if (wanted != mode && ::chmod(path_.c_str(), wanted) != 0)
        throw Exception("cannot set the attributes of " + path_);
}

} // namespace io
