#pragma once

#include <cstdint>
#include <vector>

namespace io {

// The AppleDouble file (versions 1 and 2) that carries a file's resource fork
// and Finder information apart from its data: a 26-byte header (magic,
// version, 16 filler bytes, the entry count), then one 12-byte record per
// entry (id, offset, length), all big-endian. What the records point at may
// lie anywhere behind them.
class AppleDouble {
public:
    static constexpr uint32_t magic = 0x00051607;
    static constexpr uint32_t version1 = 0x00010000;
    static constexpr uint32_t version2 = 0x00020000;
    static constexpr uint32_t headerSize = 26;
    static constexpr uint32_t entrySize = 12;
    // More entries than any writer makes: a count above it is damage.
    static constexpr uint32_t maxEntries = 64;
    static constexpr uint32_t resourceForkId = 2;
    static constexpr uint32_t finderInfoId = 9;
    static constexpr uint32_t finderInfoSize = 32;

    struct Entry {
        uint32_t id, offset, length;
    };

    // The number of entries that a header of `headerSize` bytes announces,
    // or -1 when it is no AppleDouble header or announces too many.
    static int32_t entryCount(const unsigned char* header);
    // Reads `count` entry records. False when an entry reaches past the end
    // of a file of `fileSize` bytes, or starts inside the records themselves.
    static bool readEntries(const unsigned char* records, uint32_t count, uint64_t fileSize,
                            std::vector<Entry>& entries);
};

}  // namespace io
