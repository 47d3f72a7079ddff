#include "format/tkt5/tkt5.ArchiveHeader.h"

#include <cstring>

#include "format/format.Exception.h"
#include "format/tkt5/tkt5.Record.h"
#include "format/tkt5/tkt5.ItemHeader.h"
#include "stream/stream.Array.h"
#include "stream/stream.ByteOrder.h"

namespace format::tkt5 {

const std::array<char, 14> DeluxeInfo::uninitializedPattern = {
    0x0D, char(0xA5), char(0xA5), 'R', 'e', 's', 'e', 'r', 'v', 'e', 'd', char(0xA5), char(0xA5), 0x00};

DeluxeInfo::DeluxeInfo() {
    stream::ArrayInput pattern(uninitializedPattern.data(), static_cast<uint32_t>(uninitializedPattern.size()));
    read(pattern, false);
}

void DeluxeInfo::read(stream::Input& in, bool strict) {
    bounds().read(in, strict);
    stream::BigEndianInput be(in);
    deluxeFlags(be.u16());
    deluxeValue(be.u32());
}

void DeluxeInfo::write(stream::Output& out) const {
    bounds().write(out);
    stream::BigEndianOutput be(out);
    be << deluxeFlags() << deluxeValue();
}

void OpenFolderInfo::read(stream::Input& in, bool strict) {
    stream::BigEndianInput be(in);
    folderValue(be.u32());
    bounds().read(in, strict);
    open(be.u8() != 0);
    mode(be.u8());
    value1(be.u16());
    value2(be.u16());
    value3(be.u16());
}

// `mode` goes out as a 16-bit word, one byte more than read() takes.
void OpenFolderInfo::write(stream::Output& out) const {
    stream::BigEndianOutput be(out);
    be << folderValue();
    bounds().write(out);
    be << uint8_t(open() ? 1 : 0) << uint16_t(mode()) << value1() << value2() << value3();
}

ArchiveHeader::ArchiveHeader()
    : artifact1Pattern(std::string(artifact1Text)),
      year(std::string(defaultYear)),
      artifact2Pattern(std::string(artifact2Text)),
      version(5),
      flags(0),
      archiveSize(0),
      firstItem(104),
      rootItemCount(0),
      headerSize(0),
      headerCRC(0) {}

bool ArchiveHeader::matchesSignature(const char* data, uint64_t size) {
    if (size < artifact2Offset + artifact2Compared) return false;
    if (std::string_view(data + artifact1Offset, artifact1Text.size()) != artifact1Text) return false;
    for (uint32_t i = 0; i < 4; ++i)
        if (data[yearOffset + i] < '0' || data[yearOffset + i] > '9') return false;
    return std::string_view(data + artifact2Offset, artifact2Compared) == artifact2Text.substr(0, artifact2Compared);
}

uint8_t ArchiveHeader::derivedFlags() const {
    uint8_t result = flags();
    if (deluxe.isSet()) result |= deluxeFlag;
    if (writesComment()) result |= commentFlag;
    if (openFolders.isSet()) result |= openFoldersFlag;
    if (passwordHash.isSet()) result |= passwordFlag;
    return result;
}

bool ArchiveHeader::valid() const { return firstItem() < archiveSize() && version() > 4; }

void ArchiveHeader::read(stream::Input& in, bool strict) {
    artifact1Pattern(ItemHeader::readString(in, static_cast<uint32_t>(artifact1Text.size()), strict));
    year(ItemHeader::readString(in, static_cast<uint32_t>(defaultYear.size()), strict));
    artifact2Pattern(ItemHeader::readString(in, static_cast<uint32_t>(artifact2Text.size()), strict));

    stream::BigEndianInput be(in);
    version(be.u8());
    flags(be.u8());
    archiveSize(be.u32());
    firstItem(be.u32());
    rootItemCount(be.u16());
    headerSize(be.u32());
    headerCRC(be.u16());

    deluxe.reset();
    comment.reset();
    comment2.reset();
    passwordHash.reset();
    openFolders.reset();

    if (flags() & deluxeFlag) {
        DeluxeInfo info;
        info.read(in, strict);
        deluxe(info);
    }
    uint16_t commentLength = 0, comment2Length = 0;
    if (flags() & commentFlag) {
        commentLength = be.u16();
        comment2Length = be.u16();
    }
    if (flags() & passwordFlag) {
        uint8_t length = be.u8();
        passwordHash(ItemHeader::readString(in, length, strict));
    }
    if (flags() & openFoldersFlag) {
        // The count is only a promise: a record is kept once its bytes are
        // there, so that a short input cannot claim 65535 of them. The last,
        // cut short, reads its missing bytes as 0xFF, as every record does.
        const uint16_t count = be.u16();
        std::vector<OpenFolderInfo> list;
        char bytes[20];
        for (uint16_t i = 0; i < count; ++i) {
            const uint32_t got = readFully(in, bytes, OpenFolderInfo::fixed_size());
            if (got < OpenFolderInfo::fixed_size() && strict)
                throw Exception("input stream is too short in format::tkt5::ArchiveHeader::read()");
            if (got == 0) break;
            std::memset(bytes + got, 0xFF, OpenFolderInfo::fixed_size() - got);
            stream::ArrayInput record(bytes, OpenFolderInfo::fixed_size());
            list.emplace_back().read(record, strict);
            if (got < OpenFolderInfo::fixed_size()) break;
        }
        openFolders(list);
    }
    if (flags() & commentFlag) {
        comment(ItemHeader::readString(in, commentLength, strict));
        comment2(ItemHeader::readString(in, comment2Length, strict));
    }
}

uint32_t ArchiveHeader::size() const {
    uint32_t total = fixed_size();
    if (deluxe.isSet()) total += DeluxeInfo::fixed_size();
    if (writesComment()) {
        total += 4 + static_cast<uint32_t>(comment().size());
        if (writesComment2()) total += static_cast<uint32_t>(comment2().size());
    }
    if (passwordHash.isSet()) total += 1 + static_cast<uint8_t>(passwordHash().size());
    if (writesOpenFolders())
        total += 2 + static_cast<uint16_t>(openFolders().size()) * OpenFolderInfo::fixed_size();
    return total;
}

namespace {

// Writes exactly `length` bytes of `text`, padded with zeros.
void writeField(stream::Output& out, const std::string& text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) out.write(i < text.size() ? text[i] : char(0));
}

} // namespace

void ArchiveHeader::write(stream::Output& out) const {
    writeChecked(out, headerCRCOffset, [this](stream::Output& record) {
        writeField(record, artifact1Pattern(), artifact1Text.size());
        writeField(record, year(), defaultYear.size());
        writeField(record, artifact2Pattern(), artifact2Text.size());

        stream::BigEndianOutput be(record);
        be << version() << derivedFlags() << archiveSize() << firstItem() << rootItemCount() << size()
           << uint16_t(0);

        if (deluxe.isSet()) deluxe().write(record);
        if (writesComment()) {
            be << static_cast<uint16_t>(comment().size());
            be << static_cast<uint16_t>(writesComment2() ? comment2().size() : 0);
        }
        if (passwordHash.isSet()) {
            uint8_t length = static_cast<uint8_t>(passwordHash().size());
            be << length;
            record.write(passwordHash().data(), length);
        }
        if (writesOpenFolders()) {
            uint16_t count = static_cast<uint16_t>(openFolders().size());
            be << count;
            for (uint16_t i = 0; i < count; ++i) openFolders()[i].write(record);
        }
        if (writesComment()) {
            record.write(comment().data(), static_cast<uint16_t>(comment().size()));
            if (writesComment2()) record.write(comment2().data(), static_cast<uint16_t>(comment2().size()));
        }
    });
}

} // namespace format::tkt5
