#include <windows.h>

#include "io/io.Exception.h"
#include "io/io.File.h"
#include "io/io.LongPath.h"

namespace io {

namespace {

HANDLE native(intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

intptr_t openFile(const std::string& path, DWORD access, DWORD share, DWORD disposition) {
    HANDLE handle = longpath::createFile(path, access, share, disposition, FILE_ATTRIBUTE_NORMAL);
    return handle == INVALID_HANDLE_VALUE ? -1 : reinterpret_cast<intptr_t>(handle);
}

} // namespace

bool File::release() {
    if (handle_ == -1) return true;
    HANDLE handle = native(handle_);
    handle_ = -1;
    return CloseHandle(handle) != 0;
}

void File::create(const std::string& path) {
    usePath(path);
    release();
    handle_ = openFile(path_, GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS);
    if (handle_ == -1) throw OutputException("io::File::create() cannot create " + path_);
}

void File::open(const std::string& path) {
    usePath(path);
    release();
    handle_ = openFile(path_, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    if (handle_ == -1) throw InputException("io::File::open() cannot open " + path_);
}

void File::openRW(const std::string& path) {
    usePath(path);
    release();
    handle_ = openFile(path_, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING);
    if (handle_ == -1) throw InputException("io::File::openRW() cannot open " + path_);
}

void File::close() {
    if (!release()) throw Exception("io::File::close() cannot close " + path_);
}

uint32_t File::read(char* buffer, uint32_t count) {
    if (count == 0) return 0;
    DWORD got = 0;
    if (!ReadFile(native(handle_), buffer, count, &got, nullptr))
        throw InputException("io::File::read() cannot read from " + path_);
    return got;
}

void File::write(const char* buffer, uint32_t count) {
    if (buffer == nullptr || count == 0) return;
    DWORD put = 0;
    if (!WriteFile(native(handle_), buffer, count, &put, nullptr) || put != count)
        throw OutputException("io::File::write() cannot write to " + path_);
}

uint64_t File::tell() const {
    if (!isOpen()) return 0;
    LARGE_INTEGER zero, position;
    zero.QuadPart = 0;
    if (!SetFilePointerEx(native(handle_), zero, &position, FILE_CURRENT))
        throw Exception("io::File::tell() cannot get the position of " + path_);
    return static_cast<uint64_t>(position.QuadPart);
}

uint64_t File::size() const {
    if (!isOpen()) return 0;
    LARGE_INTEGER size;
    if (!GetFileSizeEx(native(handle_), &size))
        throw Exception("io::File::size() cannot determine the size of " + path_);
    return static_cast<uint64_t>(size.QuadPart);
}

void File::unlink(bool strict) {
    release();
    if (!longpath::deleteFile(path_) && strict) throw Exception("io::File::unlink() cannot delete " + path_);
}

namespace random {

namespace {

bool moveTo(intptr_t handle, uint64_t position) {
    LARGE_INTEGER to;
    to.QuadPart = static_cast<LONGLONG>(position);
    return position <= uint64_t(INT64_MAX) && SetFilePointerEx(native(handle), to, nullptr, FILE_BEGIN);
}

} // namespace

void File::seek(uint64_t position) {
    if (!isOpen()) return;
    if (!moveTo(handle_, position)) throw Exception("io::random::File::seek() cannot set the position of " + path_);
}

void File::resize(uint64_t size) {
    if (!isOpen()) return;
    uint64_t position = tell();
    bool ok = moveTo(handle_, size) && SetEndOfFile(native(handle_));
    ok = moveTo(handle_, position) && ok;
    if (!ok) throw Exception("io::random::File::resize() cannot resize " + path_);
}

} // namespace random
} // namespace io
