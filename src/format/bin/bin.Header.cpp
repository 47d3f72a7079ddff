#include "format/bin/bin.Header.h"

#include <cstring>

#include "format/format.Exception.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Array.h"
#include "stream/stream.ByteOrder.h"

namespace format::bin {

namespace {

uint16_t crcOf(const char* bytes) {
    algorithm::crc::MacBinaryCRC crc;
    crc.update(bytes, 124);
    return crc.value();
}

}  // namespace

void Header::read(stream::Input& in, bool strict) {
    valid_ = false;
    crcMatches_ = false;
    char bytes[128];
    uint32_t count = in.read(bytes, 128);
    if (count != 128) {
        if (strict) throw Exception("truncated header in format::bin::Header::read");
        return;
    }
    stream::ArrayInput array(bytes, 128);
    stream::BigEndianInput be(array);
    version = be.u8();
    uint8_t nameLength = be.u8();
    name.assign(bytes + 2, nameLength <= 63 ? nameLength : 63);
    be.skip(63);
    type.read(be, false);
    creator.read(be, false);
    uint8_t flagsHigh = be.u8();
    uint8_t zero74 = be.u8();
    be >> vertical >> horizontal >> windowId >> protectedFlag;
    uint8_t zero82 = be.u8();
    be >> dataLength >> resourceLength >> created >> modified >> commentLength;
    uint8_t flagsLow = be.u8();
    finderFlags = static_cast<uint16_t>(flagsHigh << 8 | flagsLow);
    be >> signature >> script >> extendedFlags;
    be.skip(8);
    be >> unpackedLength >> secondaryLength >> writerVersion >> readerVersion >> crc;

    crcMatches_ = crcOf(bytes) == crc;
    bool versionOne = true;
    for (int i = 99; i < 126; ++i) versionOne = versionOne && bytes[i] == 0;
    const uint32_t limit = crcMatches_ ? maxCheckedForkLength : maxForkLength;
    valid_ = version == 0 && zero74 == 0 && zero82 == 0 && nameLength >= 1 && nameLength <= 63 &&
             dataLength <= limit && resourceLength <= limit && (crcMatches_ || versionOne);
    if (!valid_ && strict) throw Exception("bad CRC in format::bin::Header::read");
}

void Header::write(stream::Output& out) const {
    char bytes[128];
    std::memset(bytes, 0, sizeof bytes);
    stream::ArrayOutput array(bytes, 128);
    stream::BigEndianOutput be(array);
    uint8_t nameLength = static_cast<uint8_t>(name.size() <= 63 ? name.size() : 63);
    be << version << nameLength;
    be.write(name.data(), nameLength);
    for (unsigned i = nameLength; i < 63; ++i) be.u8(0);
    type.write(be);
    creator.write(be);
    be << static_cast<uint8_t>(finderFlags >> 8) << uint8_t(0) << vertical << horizontal << windowId << protectedFlag
       << uint8_t(0);
    be << dataLength << resourceLength << created << modified << commentLength << static_cast<uint8_t>(finderFlags);
    be << signature << script << extendedFlags;
    for (int i = 0; i < 8; ++i) be.u8(0);
    be << unpackedLength << secondaryLength << writerVersion << readerVersion;
    be << crcOf(bytes) << uint16_t(0);
    out.write(bytes, 128);
}

}  // namespace format::bin
