#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"
#include "format/format.data.h"

namespace format::hqx {

// The header at the start of BinHex data, once the text is decoded: the name
// (1 to 63 bytes, Mac OS Roman) with its length byte, a version byte of 0,
// type, creator, Finder flags, both fork lengths, all big-endian, and the
// check of everything before it.
class Header : public format::Header {
public:
    std::string name;
    uint8_t version = 0;
    data::OSType type;
    data::OSType creator;
    uint16_t finderFlags = 0;
    uint32_t dataLength = 0;
    uint32_t resourceLength = 0;
    uint16_t crc = 0;

    // Reads the header and its check. Throws format::Exception "bad BinHex
    // header" when `strict` and the header is cut short, names nothing or
    // fails its check.
    void read(stream::Input& in, bool strict) override;
    // Writes the fields with a fresh check; a name is cut to 63 bytes.
    void write(stream::Output& out) const override;
    bool valid() const override { return valid_; }
    uint32_t size() const override { return static_cast<uint32_t>(22 + name.size()); }

    static constexpr uint32_t longestName = 63;

private:
    bool valid_ = false;
};

}  // namespace format::hqx
