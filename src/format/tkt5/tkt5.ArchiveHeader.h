#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "format/format.Header.h"
#include "format/format.data.h"
#include "un/un.property.h"

namespace format::tkt5 {

// Carried for other programs and never interpreted. A new record is not
// zeroed: it takes its fields from the 14 bytes of uninitializedPattern.
class DeluxeInfo : public Header {
public:
    static const std::array<char, 14> uninitializedPattern;

    un::property<data::Rect> bounds;
    un::property<uint16_t> deluxeFlags;
    un::property<uint32_t> deluxeValue;

    DeluxeInfo();

    static uint32_t fixed_size() { return 14; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

// Carried for other programs and never interpreted. read() takes 20 bytes,
// but write() widens `mode` to 16 bits and so gives 21; size() says 20.
class OpenFolderInfo : public Header {
public:
    un::property<uint32_t> folderValue;
    un::property<data::Rect> bounds;
    un::property<bool> open;
    un::property<uint8_t> mode;
    un::property<uint16_t> value1;
    un::property<uint16_t> value2;
    un::property<uint16_t> value3;

    static uint32_t fixed_size() { return 20; }
    bool valid() const override { return true; }
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override { return fixed_size(); }
};

// The archive header: a 100-byte fixed part that opens with the signature,
// then the optional parts that the flags announce. read() keeps the signature
// as it finds it; whether it is ours is for the recogniser to say.
class ArchiveHeader : public Header {
public:
    // The signature: artifact1Text at 0, four decimal digits at 16, and the 62
    // bytes of artifact2Text at 20, of which the recogniser compares the first
    // 61 (all but the terminating zero).
    static constexpr std::string_view artifact1Text = "Tuckett (c)1997-";
    static constexpr std::string_view defaultYear = "2001";
    static constexpr std::string_view companyText = " Orbelle Systems, Inc., ";
    // The fixed-length web address inside artifact2Text: writer, reader and
    // recogniser all take it from here.
    static constexpr std::string_view webAddress = "http://www.cratewerk.example/tkt5/";
    static constexpr std::array<char, 62> artifact2Bytes = [] {
        std::array<char, 62> bytes{};
        std::size_t at = 0;
        for (char c : companyText) bytes[at++] = c;
        for (char c : webAddress) bytes[at++] = c;
        bytes[at++] = 0x0D;
        bytes[at++] = 0x0A;
        bytes[at++] = 0x1A;
        bytes[at++] = 0x00;
        return bytes;
    }();
    static_assert(webAddress.size() == 34, "the web address field is 34 bytes");
    static_assert(companyText.size() == 24, "the company text is 24 bytes");

    static constexpr std::string_view artifact2Text{artifact2Bytes.data(), artifact2Bytes.size()};
    static constexpr uint32_t artifact1Offset = 0;
    static constexpr uint32_t yearOffset = 16;
    static constexpr uint32_t artifact2Offset = 20;
    static constexpr uint32_t artifact2Compared = 61;
    static constexpr uint32_t headerCRCOffset = 98;

    // Archive flags.
    static constexpr uint8_t deluxeFlag = 0x10;
    static constexpr uint8_t commentFlag = 0x20;
    static constexpr uint8_t openFoldersFlag = 0x40;
    static constexpr uint8_t passwordFlag = 0x80;

    // The signature as stored.
    un::property<std::string> artifact1Pattern;
    un::property<std::string> year;
    un::property<std::string> artifact2Pattern;

    un::property<uint8_t> version;
    un::property<uint8_t> flags;
    un::property<uint32_t> archiveSize;
    un::property<uint32_t> firstItem;
    un::property<uint16_t> rootItemCount;
    un::property<uint32_t> headerSize;
    un::property<uint16_t> headerCRC;

    // The optional parts; absent unless set.
    un::opt_property<DeluxeInfo> deluxe;
    un::opt_property<std::string> comment;
    un::opt_property<std::string> comment2;
    un::opt_property<std::string> passwordHash;
    un::opt_property<std::vector<OpenFolderInfo>> openFolders;

    ArchiveHeader();

    // True when `data` holds the signature at its start: artifact1Text, four
    // digits and the first 61 bytes of artifact2Text.
    static bool matchesSignature(const char* data, uint64_t size);

    // The flags that write() stores: `flags` with the bit of each present
    // optional part set. No bit is ever cleared.
    uint8_t derivedFlags() const;

    bool valid() const override;
    void read(stream::Input& in, bool strict) override;
    void write(stream::Output& out) const override;
    uint32_t size() const override;

    virtual uint32_t min_size() const { return fixed_size(); }
    virtual uint32_t max_size() const { return 1442146; }
    virtual uint32_t fixed_size() const { return 100; }

private:
    bool writesComment() const { return comment.isSet() && !comment().empty(); }
    bool writesComment2() const { return writesComment() && comment2.isSet() && !comment2().empty(); }
    bool writesOpenFolders() const { return openFolders.isSet() && !openFolders().empty(); }
};

} // namespace format::tkt5
