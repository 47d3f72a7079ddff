#pragma once

#include <cstdint>

#include "format/format.Header.h"

namespace format::tktseg {

// The header at the start of each segment of a segmented Tuckett archive,
// big-endian: the mark "TSEG", the version 1, a flag byte, the number of this
// segment counted from 1, the total count of segments, and a CRC-16 (the
// native formats' polynomial 0xA001) of the ten bytes before it.
class ArchiveHeader : public format::Header {
public:
    static constexpr uint32_t signatureValue = 0x54534547;  // "TSEG"
    static constexpr uint32_t min_size = 12;
    static uint32_t fixed_size() { return 12; }

    uint32_t signature = signatureValue;
    uint8_t version = 1;
    uint8_t flags = 0;
    uint16_t segmentNumber = 1;
    uint16_t segmentTotal = 1;
    uint16_t crc = 0;  // as read; write() stores a fresh one

    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    // Mark, version and CRC are right, and the number lies between 1 and the total.
    bool valid() const override { return valid_; }
    uint32_t size() const override { return fixed_size(); }

private:
    bool valid_ = false;
};

}  // namespace format::tktseg
