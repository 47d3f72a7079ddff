#pragma once

#include <cstdint>

#include "format/format.Header.h"
#include "un/un.property.h"

namespace format::zip {

// The data descriptor after an entry's data, with its signature: 16 bytes.
class ExtendedHeader : public Header {
public:
    static constexpr uint32_t artifactPattern = 0x08074B50; // "PK\7\8"
    static constexpr uint32_t fixed_size = 16;

    ExtendedHeader();

    bool valid() const override;
    void read(stream::Input& in, bool check) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size; }

    un::property<uint32_t> crc;
    un::property<uint32_t> compressedSize;
    un::property<uint32_t> uncompressedSize;
    un::property<uint32_t> artifact;
};

} // namespace format::zip
