#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"
#include "un/un.property.h"

namespace format::zip {

// The local file header in front of each entry's data: 30 bytes, the name and
// the extra field.
class LocalHeader : public Header {
public:
    static constexpr uint32_t artifactPattern = 0x04034B50; // "PK\3\4"
    static constexpr uint32_t fixed_size = 30;

    LocalHeader();

    // The highest version needed that any Zip tool writes today (6.3).
    static constexpr uint16_t maxVersion = 63;

    // The signature and a version needed up to 6.3 (low byte; the high byte
    // names a host and does not count). Whether the method can be expanded
    // is the reader's question, so that it can name the method it refuses.
    bool valid() const override;
    void read(stream::Input& in, bool check) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override;
    static uint32_t max_size() { return fixed_size + 65535 + 65535; }

    // True for a folder entry: the name ends in "/".
    bool folder() const;

    un::property<uint16_t> versionNeeded;
    un::property<uint16_t> flags;
    un::property<uint16_t> method;
    un::property<uint16_t> time;
    un::property<uint16_t> date;
    un::property<uint32_t> crc;
    un::property<uint32_t> compressedSize;
    un::property<uint32_t> uncompressedSize;
    un::property<std::string> name;
    un::property<std::string> extra;
    un::property<uint32_t> artifact;
};

} // namespace format::zip
