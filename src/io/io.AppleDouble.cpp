#include "io/io.AppleDouble.h"

namespace io {

namespace {

uint32_t be32(const unsigned char* p) {
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3];
}

}  // namespace

int32_t AppleDouble::entryCount(const unsigned char* header) {
    const uint32_t version = be32(header + 4);
    if (be32(header) != magic || (version != version2 && version != version1)) return -1;
    const uint32_t count = uint32_t(header[24]) << 8 | header[25];
    return count > maxEntries ? -1 : static_cast<int32_t>(count);
}

bool AppleDouble::readEntries(const unsigned char* records, uint32_t count, uint64_t fileSize,
                              std::vector<Entry>& entries) {
    entries.clear();
    const uint64_t listEnd = headerSize + uint64_t(count) * entrySize;
    for (uint32_t i = 0; i < count; ++i) {
        const unsigned char* p = records + i * entrySize;
        const Entry e{be32(p), be32(p + 4), be32(p + 8)};
        if (uint64_t(e.offset) + e.length > fileSize) return false;
        if (e.length != 0 && e.offset < listEnd) return false;
        entries.push_back(e);
    }
    return true;
}

}  // namespace io
