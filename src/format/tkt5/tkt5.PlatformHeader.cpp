#include "format/tkt5/tkt5.PlatformHeader.h"

#include "format/format.Exception.h"
#include "format/tkt5/tkt5.Record.h"
#include "stream/check/crc.Streams.h"
#include "stream/stream.ByteOrder.h"

namespace format::tkt5 {

void DOSHeader::read(stream::Input& in, bool strict) {
    HeaderCRC crc;
    algorithm::crc::CRC16Input checked(in, crc);
    stream::BigEndianInput be(checked);
    version(be.u8());
    dosValue(be.u8());
    uint16_t stored = readStoredCRC(in, crc);
    if (strict && !crcAccepts(stored, crc.value()))
        throw Exception("bad header CRC in format::tkt5::DOSHeader::read()");
}

void DOSHeader::write(stream::Output& out) const {
    writeChecked(out, 2, [this](stream::Output& record) {
        stream::BigEndianOutput be(record);
        be << version() << dosValue() << uint16_t(0);
    });
}

void UnixHeader::read(stream::Input& in, bool strict) {
    HeaderCRC crc;
    algorithm::crc::CRC16Input checked(in, crc);
    stream::BigEndianInput be(checked);
    version(be.u8());
    be.u8();
    uint16_t stored = readStoredCRC(in, crc);
    unixValue1(be.u32());
    unixValue2(be.u32());
    unixValue3(be.u16());
    if (strict && !crcAccepts(stored, crc.value()))
        throw Exception("bad header CRC in format::tkt5::UnixHeader::read()");
}

void UnixHeader::write(stream::Output& out) const {
    writeChecked(out, 2, [this](stream::Output& record) {
        stream::BigEndianOutput be(record);
        be << version() << uint8_t(0) << uint16_t(0) << unixValue1() << unixValue2() << unixValue3();
    });
}

void WindowsHeader::read(stream::Input& in, bool strict) {
    HeaderCRC crc;
    algorithm::crc::CRC16Input checked(in, crc);
    stream::BigEndianInput be(checked);
    version(be.u8());
    be.u8();
    uint16_t stored = readStoredCRC(in, crc);
    attributes(be.u32());
    creationFraction(be.u32());
    modificationFraction(be.u32());
    accessDate(be.u32());
    accessFraction(be.u32());
    be.u32();
    be.u32();
    uint16_t computed = crc.value();
    if (strict && !crcAccepts(stored, computed) && stored != alternateCRC(computed))
        throw Exception("bad header CRC in format::tkt5::WindowsHeader::read()");
}

void WindowsHeader::writeFields(stream::Output& out, uint16_t crc) const {
    stream::BigEndianOutput be(out);
    be << version() << uint8_t(0) << crc << attributes() << creationFraction() << modificationFraction()
       << accessDate() << accessFraction() << uint32_t(0) << uint32_t(0);
}

void WindowsHeader::write(stream::Output& out) const {
    writeChecked(out, 2, [this](stream::Output& record) { writeFields(record, 0); });
}

uint16_t WindowsHeader::alternateCRC(uint16_t crc) const {
    HeaderCRC alternate;
    algorithm::DigestOutput<uint16_t> scratch(alternate);
    writeFields(scratch, crc);
    return alternate.value();
}

} // namespace format::tkt5
