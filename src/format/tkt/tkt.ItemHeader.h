#pragma once

#include <cstdint>
#include <string>

#include "format/format.Header.h"
#include "format/format.data.h"
#include "un/un.property.h"

namespace format::tkt {

// One fork's fields. On disk the fields of the two forks are interleaved in
// the item header, which reads and writes them; this record cannot serialise
// itself and refuses to.
class ForkInfo : public Header {
public:
    un::property<uint8_t> method;
    un::property<uint32_t> forkValue;
    un::property<uint8_t> forkByte;
    un::property<uint32_t> uncompressedSize;
    un::property<uint32_t> compressedSize;
    un::property<uint16_t> crc;
    un::property<uint8_t> extra1;
    un::property<uint8_t> extra2;
    un::property<uint8_t> extra3;

    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return 19; }
};

// The 112-byte item header of a classic archive: both forks, the Finder
// information, a name of at most 31 bytes under a CRC of its own, and a CRC
// over the whole record. The kind of item is told by the method bytes.
class ItemHeader : public Header {
public:
    static constexpr uint32_t maximumNameLength = 31;

    // Values of the resource method byte that mark the kinds.
    static constexpr uint8_t folderMethod = 0x20;
    static constexpr uint8_t endFolderMethod = 0x21;

    // Item flags: the DOS attributes.
    static constexpr uint16_t readOnlyFlag = 0x8000;
    static constexpr uint16_t systemFlag = 0x4000;
    static constexpr uint16_t archiveFlag = 0x2000;

    // The Finder flag of a hidden item.
    static constexpr uint16_t hiddenFinderFlag = 0x4000;

    static const data::OSType defaultType;
    static const data::OSType defaultCreator;

    un::property<ForkInfo> resourceFork;
    un::property<ForkInfo> dataFork;
    // At most 31 bytes; write() refuses a longer one.
    un::property<std::string> name;
    // As read; write() stores the CRC of what it writes.
    un::property<uint16_t> nameCRC;
    un::property<uint16_t> itemFlags;
    un::property<uint16_t> childCount;
    un::property<uint32_t> previous;
    un::property<uint32_t> next;
    un::property<uint32_t> parent;
    un::property<uint32_t> firstChild;
    un::property<data::OSType> type;
    un::property<data::OSType> creator;
    un::property<uint16_t> finderFlags;
    un::property<uint32_t> creationDate;
    un::property<uint32_t> modificationDate;
    un::property<uint16_t> headerCRC;

    ItemHeader();

    static uint32_t fixed_size() { return 74; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size() + resourceFork().size() + dataFork().size(); }

    virtual bool file() const;
    virtual void makeFile();
    virtual bool folder() const;
    virtual void makeFolder();
    virtual bool endFolder() const;
    virtual void makeEndFolder();

protected:
    // The name field, a length byte and 31 bytes: read from offset 2 of the
    // whole record, written into the 32 bytes of the field alone.
    void readName(const char* record, bool strict);
    void writeName(char* field) const;
};

} // namespace format::tkt
