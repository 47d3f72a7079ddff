#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/io.Exception.h"
#include "io/io.File.h"

namespace io {

namespace {

// Opens for the three ways of the class; a folder is refused as no file.
int openFile(const std::string& path, int flags) {
    int fd;
    do fd = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
    while (fd == -1 && errno == EINTR);
    if (fd == -1) return -1;
    // A folder cannot be opened for writing at all; only a read-only open
    // needs the look.
    if ((flags & O_ACCMODE) != O_RDONLY) return fd;
    struct stat st;
    if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
        ::close(fd);
        return -1;
    }
    return fd;
}

} // namespace

bool File::release() {
    if (handle_ == -1) return true;
    int fd = static_cast<int>(handle_);
    handle_ = -1;
    return ::close(fd) == 0;
}

void File::create(const std::string& path) {
    usePath(path);
    release();
    int fd = openFile(path_, O_RDWR | O_CREAT | O_TRUNC | O_NOFOLLOW);
    if (fd == -1) throw OutputException("io::File::create() cannot create " + path_);
    handle_ = fd;
}

void File::open(const std::string& path) {
    usePath(path);
    release();
    int fd = openFile(path_, O_RDONLY);
    if (fd == -1) throw InputException("io::File::open() cannot open " + path_);
    handle_ = fd;
}

void File::openRW(const std::string& path) {
    usePath(path);
    release();
    int fd = openFile(path_, O_RDWR);
    if (fd == -1) throw InputException("io::File::openRW() cannot open " + path_);
    handle_ = fd;
}

void File::close() {
    if (!release()) throw Exception("io::File::close() cannot close " + path_);
}

uint32_t File::read(char* buffer, uint32_t count) {
    uint32_t done = 0;
    while (done < count) {
        ssize_t got = ::read(static_cast<int>(handle_), buffer + done, count - done);
        if (got == -1 && errno == EINTR) continue;
        if (got == -1) throw InputException("io::File::read() cannot read from " + path_);
        if (got == 0) break;
        done += static_cast<uint32_t>(got);
    }
    return done;
}

void File::write(const char* buffer, uint32_t count) {
    if (buffer == nullptr || count == 0) return;
    uint32_t done = 0;
    while (done < count) {
        ssize_t put = ::write(static_cast<int>(handle_), buffer + done, count - done);
        if (put == -1 && errno == EINTR) continue;
        if (put <= 0)
            throw OutputException("io::File::write() cannot write to " + path_,
                                  put == -1 && (errno == ENOSPC || errno == EDQUOT));
        done += static_cast<uint32_t>(put);
    }
}

uint64_t File::tell() const {
    if (!isOpen()) return 0;
    off_t position = ::lseek(static_cast<int>(handle_), 0, SEEK_CUR);
    if (position == -1) throw Exception("io::File::tell() cannot get the position of " + path_);
    return static_cast<uint64_t>(position);
}

uint64_t File::size() const {
    if (!isOpen()) return 0;
    struct stat st;
    if (::fstat(static_cast<int>(handle_), &st) != 0)
        throw Exception("io::File::size() cannot determine the size of " + path_);
    return static_cast<uint64_t>(st.st_size);
}

void File::unlink(bool strict) {
    release();
    if (::unlink(path_.c_str()) != 0 && strict) throw Exception("io::File::unlink() cannot delete " + path_);
}

namespace random {

void File::seek(uint64_t position) {
    if (!isOpen()) return;
    if (position > uint64_t(INT64_MAX) || ::lseek(static_cast<int>(handle_), off_t(position), SEEK_SET) == -1)
        throw Exception("io::random::File::seek() cannot set the position of " + path_);
}

void File::resize(uint64_t size) {
    if (!isOpen()) return;
    if (size > uint64_t(INT64_MAX) || ::ftruncate(static_cast<int>(handle_), off_t(size)) != 0)
        throw Exception("io::random::File::resize() cannot resize " + path_);
}

} // namespace random
} // namespace io
