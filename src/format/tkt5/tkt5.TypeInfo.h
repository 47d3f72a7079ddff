#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"
#include "un/un.property.h"

namespace format::tkt5 {

// What follows the fixed part of an item header: a ForkInfo for a file, a
// FolderInfo for a folder.
class TypeInfo : public Header {
public:
    virtual uint32_t fixed_size() const = 0;
};

// One fork's stored data: in an item header for the data fork, in a MacHeader
// for the resource fork.
class ForkInfo : public TypeInfo {
public:
    // Compression methods.
    static constexpr uint8_t storedMethod = 0;
    static constexpr uint8_t ispMethod = 13;
    static constexpr uint8_t arsenicMethod = 15;

    un::property<uint32_t> uncompressedSize;
    un::property<uint32_t> compressedSize;
    un::property<uint16_t> crc;
    un::property<uint8_t> forkReserved;
    un::property<uint8_t> method;
    un::property<uint8_t> keyIndicator;
    un::property<std::string> key;

    // The stored key length: the key's length cut to a byte.
    uint8_t keyLength() const { return static_cast<uint8_t>(key().size()); }

    uint32_t fixed_size() const override { return 14; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size() + keyLength(); }
};

class FolderInfo : public TypeInfo {
public:
    // The firstChild of an end-of-folder marker.
    static constexpr uint32_t endMarker = 0xFFFFFFFFu;

    un::property<uint32_t> firstChild;
    un::property<uint32_t> totalSize;
    un::property<uint32_t> totalCompressedSize;
    un::property<uint16_t> childCount;

    uint32_t fixed_size() const override { return 14; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

} // namespace format::tkt5
