#include <windows.h>

#include "io/io.Exception.h"
#include "io/io.Item.h"
#include "io/io.LongPath.h"

namespace io {

namespace {

enum Which { creation, modification, access };

const char* const getTexts[] = {"cannot get the creation time of ", "cannot get the modification time of ",
                                "cannot get the access time of "};
const char* const setTexts[] = {"cannot set the creation time of ", "cannot set the modification time of ",
                                "cannot set the access time of "};

// Folders open too, through the backup-semantics flag.
HANDLE openForTimes(const std::string& path, DWORD access) {
    HANDLE handle =
        longpath::createFile(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    if (handle == INVALID_HANDLE_VALUE) throw Exception("cannot open " + path);
    return handle;
}

uint64_t getTime(const std::string& path, Which which) {
    HANDLE handle = openForTimes(path, 0);
    FILETIME times[3];
    BOOL ok = GetFileTime(handle, &times[creation], &times[access], &times[modification]);
    CloseHandle(handle);
    if (!ok) throw Exception(getTexts[which] + path);
    return (uint64_t(times[which].dwHighDateTime) << 32) | times[which].dwLowDateTime;
}

void setTime(const std::string& path, Which which, uint64_t value) {
    HANDLE handle = openForTimes(path, FILE_WRITE_ATTRIBUTES);
    FILETIME time;
    time.dwLowDateTime = DWORD(value);
    time.dwHighDateTime = DWORD(value >> 32);
    BOOL ok = SetFileTime(handle, which == creation ? &time : nullptr, which == access ? &time : nullptr,
                          which == modification ? &time : nullptr);
    CloseHandle(handle);
    if (!ok) throw Exception(setTexts[which] + path);
}

} // namespace

uint64_t Item::highResolutionCreationTime() const { return getTime(path_, creation); }
uint64_t Item::highResolutionModificationTime() const { return getTime(path_, modification); }
uint64_t Item::highResolutionAccessTime() const { return getTime(path_, access); }
void Item::highResolutionCreationTime(uint64_t time) { setTime(path_, creation, time); }
void Item::highResolutionModificationTime(uint64_t time) { setTime(path_, modification, time); }
void Item::highResolutionAccessTime(uint64_t time) { setTime(path_, access, time); }

uint32_t Item::permissions() const { return 0; }
void Item::permissions(uint32_t) {}

uint32_t Item::win32Attributes() const {
    DWORD attributes = longpath::attributes(path_);
    if (attributes == INVALID_FILE_ATTRIBUTES) throw Exception("cannot get the attributes of " + path_);
    return attributes;
}

void Item::win32Attributes(uint32_t attributes) {
    if (attributes == 0) return;
    if (!longpath::setAttributes(path_, attributes)) throw Exception("cannot set the attributes of " + path_);
}

} // namespace io
