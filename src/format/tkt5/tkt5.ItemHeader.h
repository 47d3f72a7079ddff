#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "format/format.Header.h"
#include "format/tkt5/tkt5.MacHeader.h"
#include "format/tkt5/tkt5.PlatformHeader.h"
#include "format/tkt5/tkt5.TypeInfo.h"
#include "un/un.property.h"

namespace format::tkt5 {

// One item of the archive: a 34-byte fixed part, the TypeInfo, the name, an
// optional pair of comments (together the common part, under the header CRC)
// and the platform record, which has a CRC of its own. Items are linked into
// a tree by the offsets `previous`, `next` and `parent`.
class ItemHeader : public Header {
public:
    static constexpr uint32_t artifactValue = 0xA5A5A5A5u;

    // Platform values.
    static constexpr uint8_t nonePlatform = 0;
    static constexpr uint8_t macPlatform = 1;
    static constexpr uint8_t dosPlatform = 2;
    static constexpr uint8_t windowsPlatform = 3;
    static constexpr uint8_t unixPlatform = 4;

    // Item flags.
    static constexpr uint16_t commentFlag = 0x0008;
    static constexpr uint16_t passwordFlag = 0x0020;
    static constexpr uint16_t folderFlag = 0x0040;
    static constexpr uint16_t lockedFlag = 0x0080;
    static constexpr uint16_t localNameFlag = 0x0100;

    static constexpr uint32_t headerCRCOffset = 32;

    un::property<uint32_t> artifactPattern;
    un::property<uint8_t> platform;
    un::property<uint8_t> version;
    // As read; write() stores common_size() plus the TypeInfo's size.
    un::property<uint16_t> commonSize;
    un::property<uint16_t> itemFlags;
    un::property<uint32_t> creationDate;
    un::property<uint32_t> modificationDate;
    un::property<uint32_t> previous;
    un::property<uint32_t> next;
    un::property<uint32_t> parent;
    // As read; write() stores the CRC of what it writes.
    un::property<uint16_t> headerCRC;
    un::property<std::string> name;
    // Written whenever item flag 0x08 is set, empty or not.
    un::property<std::string> comment;
    un::property<std::string> comment2;

    ItemHeader();
    ~ItemHeader() override;
    ItemHeader(const ItemHeader&) = delete;
    ItemHeader& operator=(const ItemHeader&) = delete;

    // Reads `length` bytes. With `strict` set, a short input raises an
    // exception; otherwise the missing bytes are zeros.
    static std::string readString(stream::Input& in, uint32_t length, bool strict);

    bool valid() const override;
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override;

    virtual uint32_t min_size() const { return 48; }
    virtual uint32_t max_size() const { return 196912; }

    // The kind of item. file() and folder() refuse an item that has no
    // TypeInfo yet; the make operations replace it only when it is of the
    // wrong kind.
    virtual bool file() const;
    virtual void makeFile();
    virtual ForkInfo& forkInfo();
    virtual bool folder() const;
    virtual void makeFolder();
    virtual FolderInfo& folderInfo();
    virtual bool endFolder() const;
    virtual void makeEndFolder();

    // The platform record. Each make operation sets `platform` and puts a
    // fresh record of its kind in place unless one is there already.
    virtual bool none() const;
    virtual void makeNone();
    virtual bool dos() const;
    virtual void makeDOS();
    virtual DOSHeader& dosHeader();
    virtual bool mac() const;
    virtual void makeMac();
    virtual MacHeader& macHeader();
    virtual bool unixx() const;
    virtual void makeUnix();
    virtual UnixHeader& unixHeader();
    virtual bool windows() const;
    virtual void makeWindows();
    virtual WindowsHeader& windowsHeader();

    virtual uint32_t fixed_size() const { return 34; }
    // The fixed part, the name and the optional comment pair with its two
    // length words: everything under the header CRC but the TypeInfo.
    virtual uint32_t common_size() const;

    const ForkInfo& forkInfo() const { return const_cast<ItemHeader*>(this)->forkInfo(); }
    const FolderInfo& folderInfo() const { return const_cast<ItemHeader*>(this)->folderInfo(); }
    const DOSHeader& dosHeader() const { return const_cast<ItemHeader*>(this)->dosHeader(); }
    const MacHeader& macHeader() const { return const_cast<ItemHeader*>(this)->macHeader(); }
    const UnixHeader& unixHeader() const { return const_cast<ItemHeader*>(this)->unixHeader(); }
    const WindowsHeader& windowsHeader() const { return const_cast<ItemHeader*>(this)->windowsHeader(); }
    const PlatformHeader& platformHeader() const { return *platformHeader_; }

    // itemFlags as write() stores them: folder flag from the TypeInfo.
    uint16_t assignedFlags() const;

    virtual void verifyType() const;
    virtual void assignType() { itemFlags(assignedFlags()); }
    // Puts the record that `platform` names in place; an unknown value gets
    // the bare record and keeps its value, so valid() refuses it.
    virtual void makePlatformHeader();

private:
    template <typename T> void makePlatform(uint8_t value);

    std::unique_ptr<TypeInfo> typeInfo_;
    std::unique_ptr<PlatformHeader> platformHeader_;
};

} // namespace format::tkt5
