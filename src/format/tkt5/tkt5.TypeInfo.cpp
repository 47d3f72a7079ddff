#include "format/tkt5/tkt5.TypeInfo.h"

#include "format/format.Exception.h"
#include "format/tkt5/tkt5.Record.h"
#include "stream/stream.ByteOrder.h"

namespace format::tkt5 {

void ForkInfo::read(stream::Input& in, bool) {
    stream::BigEndianInput be(in);
    uncompressedSize(be.u32());
    compressedSize(be.u32());
    crc(be.u16());
    uint8_t length = be.u8();
    forkReserved(be.u8());
    method(be.u8());
    keyIndicator(be.u8());
    std::string bytes(length, '\0');
    if (length != 0 && readFully(in, bytes.data(), length) < length)
        throw Exception("format::tkt5::ForkInfo::read(): input stream is too short");
    key(bytes);
}

void ForkInfo::write(stream::Output& out) const {
    stream::BigEndianOutput be(out);
    uint8_t length = keyLength();
    be << uncompressedSize() << compressedSize() << crc() << length << forkReserved() << method() << keyIndicator();
    out.write(key().data(), length);
}

void FolderInfo::read(stream::Input& in, bool) {
    stream::BigEndianInput be(in);
    firstChild(be.u32());
    totalSize(be.u32());
    totalCompressedSize(be.u32());
    childCount(be.u16());
}

void FolderInfo::write(stream::Output& out) const {
    stream::BigEndianOutput be(out);
    be << firstChild() << totalSize() << totalCompressedSize() << childCount();
}

} // namespace format::tkt5
