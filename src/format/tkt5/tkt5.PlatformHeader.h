#pragma once

#include <cstdint>

#include "format/format.Header.h"
#include "un/un.property.h"

namespace format::tkt5 {

// The record that follows an item's common part and carries what one
// operating system knows about the item. This bare form is the record of
// platform 0: it has no bytes at all.
class PlatformHeader : public Header {
public:
    bool valid() const override { return true; }
    void read(stream::Input&, bool) override {}
    void write(stream::Output&) const override {}
    uint32_t size() const override { return 0; }
};

// Platform 2: four bytes, one value carried and never used.
class DOSHeader : public PlatformHeader {
public:
    un::property<uint8_t> version;
    un::property<uint8_t> dosValue;

    static uint32_t fixed_size() { return 4; }
    bool valid() const override { return version() == 0; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

// Platform 4: three values carried and never used.
class UnixHeader : public PlatformHeader {
public:
    un::property<uint8_t> version;
    un::property<uint32_t> unixValue1;
    un::property<uint32_t> unixValue2;
    un::property<uint16_t> unixValue3;

    static uint32_t fixed_size() { return 14; }
    bool valid() const override { return version() == 0; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

// Platform 3: the Windows attributes and the sub-second parts of the times,
// in units of 100 ns, whose whole seconds stand in the item header.
class WindowsHeader : public PlatformHeader {
public:
    un::property<uint8_t> version;
    un::property<uint32_t> attributes;
    un::property<uint32_t> creationFraction;
    un::property<uint32_t> modificationFraction;
    un::property<uint32_t> accessDate;
    un::property<uint32_t> accessFraction;

    static uint32_t fixed_size() { return 32; }
    bool valid() const override { return version() == 0; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }

    // The CRC of the record laid out anew from its fields, with `crc` in the
    // CRC field and zeros in the reserved bytes. read() also accepts a stored
    // CRC equal to alternateCRC() of the computed one: that is the CRC of a
    // record whose CRC was computed with its own value already in place.
    uint16_t alternateCRC(uint16_t crc) const;

private:
    void writeFields(stream::Output& out, uint16_t crc) const;
};

} // namespace format::tkt5
