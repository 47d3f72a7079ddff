#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"
#include "format/format.data.h"

namespace format::bin {

// The 128-byte header of a MacBinary file (versions I, II and III): name,
// Finder information, fork lengths and dates, all big-endian. Versions II and
// III protect the first 124 bytes with a CRC; version I leaves bytes 99 to 125
// at zero instead.
class Header : public format::Header {
public:
    static constexpr uint32_t min_size = 128;
    static uint32_t fixed_size() { return 128; }
    // The largest fork MacBinary I readers accept, kept as the limit for a
    // header without a CRC; one whose CRC matches may hold forks up to
    // maxCheckedForkLength.
    static constexpr uint32_t maxForkLength = 0x7FFFFF;
    static constexpr uint32_t maxCheckedForkLength = 0x7FFFFFFF;

    uint8_t version = 0;
    std::string name;  // 1 to 63 bytes
    data::OSType type;
    data::OSType creator;
    uint16_t finderFlags = 0;  // high byte at 73, low byte at 101
    int16_t vertical = 0;
    int16_t horizontal = 0;
    uint16_t windowId = 0;
    uint8_t protectedFlag = 0;
    uint32_t dataLength = 0;
    uint32_t resourceLength = 0;
    uint32_t created = 0;   // seconds since the Macintosh epoch
    uint32_t modified = 0;  // seconds since the Macintosh epoch
    uint16_t commentLength = 0;
    uint32_t signature = 0;  // "mBIN" in version III
    uint8_t script = 0;
    uint8_t extendedFlags = 0;
    uint32_t unpackedLength = 0;
    uint16_t secondaryLength = 0;
    uint8_t writerVersion = 0;  // 129 for II, 130 for III
    uint8_t readerVersion = 0;
    uint16_t crc = 0;

    // The CRC of the first 124 bytes as stored matched.
    bool crcMatches() const { return crcMatches_; }

    // Throws format::Exception "bad CRC in format::bin::Header::read" when
    // `strict` and the header is not valid.
    void read(stream::Input& in, bool strict) override;
    // Writes the fields as they stand, with a fresh CRC.
    void write(stream::Output& out) const override;
    bool valid() const override { return valid_; }
    uint32_t size() const override { return fixed_size(); }

private:
    bool valid_ = false;
    bool crcMatches_ = false;
};

}  // namespace format::bin
