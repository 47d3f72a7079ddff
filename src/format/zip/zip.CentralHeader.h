#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"
#include "un/un.property.h"

namespace stream {
class LittleEndianOutput;
}

namespace format::zip {

// One entry of the central directory: 46 bytes, the name, the extra field and
// the comment.
class CentralHeader : public Header {
public:
    static constexpr uint32_t artifactPattern = 0x02014B50; // "PK\1\2"
    static constexpr uint32_t fixed_size = 46;

    CentralHeader();

    bool valid() const override;
    void read(stream::Input& in, bool check) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override;
    static uint32_t max_size() { return fixed_size + 65535 + 65535 + 65535; }

    // Writes the local header that goes with this entry: the same common
    // fields, name and extra field.
    virtual void writeLocal(stream::Output& out) const;

    un::property<uint16_t> versionMadeBy;
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
    un::property<std::string> comment;
    un::property<uint16_t> diskStart;
    un::property<uint16_t> internalAttributes;
    un::property<uint32_t> externalAttributes;
    un::property<uint32_t> localHeaderOffset;
    un::property<uint32_t> artifact;

protected:
    // The run of fields that the central and the local header share, from the
    // version needed to the extra length.
    void writeCommon(stream::LittleEndianOutput& out) const;
};

} // namespace format::zip
