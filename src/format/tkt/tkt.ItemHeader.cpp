#include "format/tkt/tkt.ItemHeader.h"

#include <array>
#include <cstring>

#include "format/format.Exception.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Array.h"
#include "stream/stream.ByteOrder.h"

namespace format::tkt {

void ForkInfo::read(stream::Input&, bool) {
    throw Exception("format::tkt::ForkInfo::read(): fork information cannot be read");
}

void ForkInfo::write(stream::Output&) const {
    throw Exception("format::tkt::ForkInfo::write(): fork information cannot be read");
}

const data::OSType ItemHeader::defaultType("????");
const data::OSType ItemHeader::defaultCreator("????");

namespace {

constexpr uint32_t recordSize = 112;
constexpr uint32_t nameOffset = 2;
constexpr uint32_t nameFieldSize = 32;  // the length byte and 31 bytes
[[maybe_unused]] constexpr uint32_t nameCRCOffset = 34;
constexpr uint32_t headerCRCOffset = 110;

uint16_t crcOf(const char* data, uint32_t size) {
    algorithm::crc::BisyncCRC crc(0xA001, 0);
    crc.update(data, size);
    return crc.value();
}

bool isFolderMethod(uint8_t method) { return method == 0x20 || method == 0x30; }
bool isEndFolderMethod(uint8_t method) { return method == 0x21 || method == 0x31; }

} // namespace

ItemHeader::ItemHeader()
    : nameCRC(0),
      itemFlags(0),
      childCount(0),
      previous(0),
      next(0),
      parent(0),
      firstChild(0),
      type(defaultType),
      creator(defaultCreator),
      finderFlags(0),
      creationDate(0),
      modificationDate(0),
      headerCRC(0) {}

bool ItemHeader::file() const { return !folder() && !endFolder(); }
bool ItemHeader::folder() const { return isFolderMethod(resourceFork().method()); }
bool ItemHeader::endFolder() const { return isEndFolderMethod(resourceFork().method()); }

void ItemHeader::makeFile() {
    if (file()) return;
    resourceFork().method(0);
    dataFork().method(0);
}

void ItemHeader::makeFolder() {
    resourceFork().method(folderMethod);
    dataFork().method(folderMethod);
}

void ItemHeader::makeEndFolder() {
    resourceFork().method(endFolderMethod);
    dataFork().method(endFolderMethod);
}

void ItemHeader::readName(const char* record, bool strict) {
    uint16_t computed = crcOf(record + nameOffset, nameFieldSize);
    if (strict && nameCRC() != computed) throw Exception("bad name CRC in format::tkt::ItemHeader::readName()");
    uint8_t length = static_cast<uint8_t>(record[nameOffset]);
    if (length > maximumNameLength) {
        if (strict) throw Exception("file name is too long in format::tkt::ItemHeader::readName()");
        length = maximumNameLength;
    }
    name(std::string(record + nameOffset + 1, length));
}

void ItemHeader::writeName(char* field) const {
    if (name().size() > maximumNameLength)
        throw Exception("file name is too long in format::tkt::ItemHeader::writeName()");
    field[0] = static_cast<char>(name().size());
    std::memcpy(field + 1, name().data(), name().size());
}

void ItemHeader::read(stream::Input& in, bool strict) {
    std::array<char, recordSize> record{};
    uint32_t got = 0;
    while (got < recordSize) {
        uint32_t n = in.read(record.data() + got, recordSize - got);
        if (n == 0) break;
        got += n;
    }
    if (got < recordSize && strict) throw Exception("input stream is too short in format::tkt::ItemHeader::read()");

    stream::ArrayInput fields(record.data(), recordSize);
    stream::BigEndianInput be(fields);
    ForkInfo& rsrc = resourceFork();
    ForkInfo& data = dataFork();
    rsrc.method(be.u8());
    data.method(be.u8());
    be.skip(nameFieldSize);
    nameCRC(be.u16());
    readName(record.data(), strict);
    itemFlags(be.u16());
    rsrc.forkValue(be.u32());
    data.forkValue(be.u32());
    data.forkByte(be.u8());
    rsrc.forkByte(be.u8());
    childCount(be.u16());
    previous(be.u32());
    next(be.u32());
    parent(be.u32());
    firstChild(be.u32());
    type(data::OSType(be.u32()));
    creator(data::OSType(be.u32()));
    finderFlags(be.u16());
    creationDate(be.u32());
    modificationDate(be.u32());
    rsrc.uncompressedSize(be.u32());
    data.uncompressedSize(be.u32());
    rsrc.compressedSize(be.u32());
    data.compressedSize(be.u32());
    rsrc.crc(be.u16());
    data.crc(be.u16());
    rsrc.extra1(be.u8());
    data.extra1(be.u8());
    data.extra2(be.u8());
    data.extra3(be.u8());
    rsrc.extra2(be.u8());
    rsrc.extra3(be.u8());
    headerCRC(be.u16());

    if (strict && headerCRC() != 0 && headerCRC() != crcOf(record.data(), headerCRCOffset))
        throw Exception("bad header CRC in format::tkt::ItemHeader::read()");
}

void ItemHeader::write(stream::Output& out) const {
    std::array<char, nameFieldSize> nameField{};
    writeName(nameField.data());

    std::array<char, recordSize> record{};
    stream::ArrayOutput fields(record.data(), recordSize);
    stream::BigEndianOutput be(fields);
    const ForkInfo& rsrc = resourceFork();
    const ForkInfo& data = dataFork();
    be << rsrc.method() << data.method();
    fields.write(nameField.data(), nameFieldSize);
    be << crcOf(nameField.data(), nameFieldSize) << itemFlags() << rsrc.forkValue() << data.forkValue()
       << data.forkByte() << rsrc.forkByte() << childCount() << previous() << next() << parent() << firstChild()
       << type().value() << creator().value() << finderFlags() << creationDate() << modificationDate()
       << rsrc.uncompressedSize() << data.uncompressedSize() << rsrc.compressedSize() << data.compressedSize()
       << rsrc.crc() << data.crc() << rsrc.extra1() << data.extra1() << data.extra2() << data.extra3()
       << rsrc.extra2() << rsrc.extra3();
    be << crcOf(record.data(), headerCRCOffset);
    out.write(record.data(), recordSize);
}

} // namespace format::tkt
