#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"
#include "stream/stream.Input.h"
#include "un/un.property.h"

namespace format::zip {

// The end of central directory record: 22 bytes and the archive comment.
class EndHeader : public Header {
public:
    static constexpr uint32_t artifactPattern = 0x06054B50; // "PK\5\6"
    static constexpr uint32_t fixed_size = 22;
    static constexpr uint64_t notFound = ~uint64_t(0);

    EndHeader();

    bool valid() const override;
    void read(stream::Input& in, bool check) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override;
    static uint32_t max_size() { return fixed_size + 65535; }

    // The offset of the end record in the input, or notFound (all ones). Tries
    // the last 22 bytes first, then searches the last 65557 bytes backwards for
    // the signature; the hit nearest the end wins.
    virtual unsigned long long locate(stream::random::Input& in);

    un::property<uint16_t> thisDisk;
    un::property<uint16_t> directoryDisk;
    un::property<uint16_t> entriesOnDisk;
    un::property<uint16_t> entries;
    un::property<uint32_t> directorySize;
    un::property<uint32_t> directoryOffset;
    un::property<std::string> comment;
    un::property<uint32_t> artifact;
};

} // namespace format::zip
