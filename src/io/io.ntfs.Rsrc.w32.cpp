#include <windows.h>

#include "io/io.Exception.h"
#include "io/io.LongPath.h"
#include "io/io.ntfs.Rsrc.h"
#include "stream/stream.Array.h"

namespace io::ntfs {

namespace {

const char* const resourceStream = ":AFP_Resource:$DATA";
const char* const infoStream = ":AFP_AfpInfo:$DATA";
const char* const fileInfoStream = ":AFP_FileInfo:$DATA";

HANDLE openStream(const std::string& path, const char* stream, DWORD access, DWORD share, DWORD disposition) {
    return longpath::createFile(path + stream, access, share, disposition, FILE_ATTRIBUTE_NORMAL);
}

} // namespace

void Rsrc::create(const std::string& path) {
    usePath(path);
    release();
    HANDLE handle = openStream(path_, resourceStream, GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS);
    if (handle == INVALID_HANDLE_VALUE)
        throw OutputException("io::ntfs::Rsrc::create() cannot create the resource fork of " + path_);
    handle_ = reinterpret_cast<intptr_t>(handle);
}

void Rsrc::open(const std::string& path) {
    usePath(path);
    release();
    HANDLE handle = openStream(path_, resourceStream, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    if (handle == INVALID_HANDLE_VALUE)
        throw InputException("io::ntfs::Rsrc::open() cannot open the resource fork of " + path_);
    handle_ = reinterpret_cast<intptr_t>(handle);
}

void Rsrc::openRW(const std::string& path) {
    usePath(path);
    release();
    HANDLE handle = openStream(path_, resourceStream, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, OPEN_EXISTING);
    if (handle == INVALID_HANDLE_VALUE)
        throw InputException("io::ntfs::Rsrc::openRW() cannot open the resource fork of " + path_);
    handle_ = reinterpret_cast<intptr_t>(handle);
}

void Rsrc::write(const char* buffer, uint32_t count) {
    try {
        io::File::write(buffer, count);
    } catch (const io::Exception&) {
        throw OutputException("io::ntfs::Rsrc::write() cannot write to the resource fork of " + path_);
    }
}

void Rsrc::unlink(bool strict) {
    release();
    if (!longpath::deleteFile(path_) && strict)
        throw Exception("io::ntfs::Rsrc::unlink() cannot delete the resource fork of " + path_);
}

// The first 16 bytes of the record are not checked.
format::data::FileInfo Rsrc::fileInfo() const {
    HANDLE handle = openStream(path_, infoStream, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
    if (handle == INVALID_HANDLE_VALUE)
        throw InputException("io::ntfs::Rsrc::fileInfo() cannot get Finder information for " + path_);
    char header[16], bytes[16];
    DWORD got1 = 0, got2 = 0;
    bool ok = ReadFile(handle, header, sizeof header, &got1, nullptr) && got1 == sizeof header &&
              ReadFile(handle, bytes, format::data::FileInfo::fixed_size(), &got2, nullptr) &&
              got2 == format::data::FileInfo::fixed_size();
    CloseHandle(handle);
    if (!ok) throw InputException("io::ntfs::Rsrc::fileInfo() cannot read from the resource fork of " + path_);
    format::data::FileInfo info;
    stream::ArrayInput in(bytes, sizeof bytes);
    info.read(in, false);
    return info;
}

// The 60-byte record: "AFP", NUL, 00 01 00 00, eight zeros, the Finder
// information and 28 zeros.
void Rsrc::fileInfo(const format::data::FileInfo& info) {
    HANDLE handle = openStream(path_, infoStream, GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS);
    if (handle == INVALID_HANDLE_VALUE)
        throw InputException("io::ntfs::Rsrc::fileInfo() cannot set Finder information for " + path_);
    const char header[16] = {'A', 'F', 'P', 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    char bytes[16] = {};
    stream::ArrayOutput out(bytes, sizeof bytes);
    info.write(out);
    const char zeros[28] = {};
    DWORD put1 = 0, put2 = 0, put3 = 0;
    bool ok = WriteFile(handle, header, sizeof header, &put1, nullptr) && put1 == sizeof header &&
              WriteFile(handle, bytes, sizeof bytes, &put2, nullptr) && put2 == sizeof bytes &&
              WriteFile(handle, zeros, sizeof zeros, &put3, nullptr) && put3 == sizeof zeros;
    CloseHandle(handle);
    if (!ok) throw InputException("io::ntfs::Rsrc::fileInfo() cannot read from the resource fork of " + path_);
}

// ":AFP_FileInfo:$DATA" is only ever tested here; nothing reads it.
bool Rsrc::hasInfo(const std::string& path) {
    for (const char* stream : {infoStream, fileInfoStream}) {
        HANDLE handle = openStream(path, stream, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING);
        if (handle != INVALID_HANDLE_VALUE) {
            CloseHandle(handle);
            return true;
        }
    }
    return false;
}

} // namespace io::ntfs

namespace io::ntfs {

bool Rsrc::isSidecar(const std::string&) { return false; }

} // namespace io::ntfs
