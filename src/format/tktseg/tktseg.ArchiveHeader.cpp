#include "format/tktseg/tktseg.ArchiveHeader.h"

#include "format/format.Exception.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Array.h"
#include "stream/stream.ByteOrder.h"

namespace format::tktseg {

namespace {
uint16_t crcOf(const char* bytes) {
    algorithm::crc::BisyncCRC crc;
    crc.update(bytes, 10);
    return crc.value();
}
}  // namespace

void ArchiveHeader::read(stream::Input& in, bool strict) {
    valid_ = false;
    char bytes[12];
    if (in.read(bytes, 12) != 12) {
        if (strict) throw Exception("truncated header in format::tktseg::ArchiveHeader::read");
        return;
    }
    stream::ArrayInput array(bytes, 12);
    stream::BigEndianInput be(array);
    be >> signature >> version >> flags >> segmentNumber >> segmentTotal >> crc;
    valid_ = signature == signatureValue && version == 1 && crc == crcOf(bytes) && segmentNumber >= 1 &&
             segmentNumber <= segmentTotal;
    if (!valid_ && strict) throw Exception("bad header in format::tktseg::ArchiveHeader::read");
}

void ArchiveHeader::write(stream::Output& out) const {
    char bytes[12];
    stream::ArrayOutput array(bytes, 12);
    stream::BigEndianOutput be(array);
    be << signature << version << flags << segmentNumber << segmentTotal;
    be << crcOf(bytes);
    out.write(bytes, 12);
}

}  // namespace format::tktseg
