#include "format/zip/zip.ExtendedHeader.h"

#include "format/format.Exception.h"
#include "stream/stream.ByteOrder.h"
#include "un/un.assert.h"

namespace format::zip {

ExtendedHeader::ExtendedHeader() : artifact(artifactPattern) { un_assert(size() == 16); }

bool ExtendedHeader::valid() const { return artifact() == artifactPattern; }

void ExtendedHeader::read(stream::Input& input, bool check) {
    stream::LittleEndianInput in(input);
    artifact(in.u32());
    if (check && artifact() != artifactPattern)
        throw Exception("bad header artfact in format::zip::ExtendedHeader::read()");
    crc(in.u32());
    compressedSize(in.u32());
    uncompressedSize(in.u32());
}

void ExtendedHeader::write(stream::Output& output) const {
    stream::LittleEndianOutput out(output);
    out << artifactPattern << crc() << compressedSize() << uncompressedSize();
}

} // namespace format::zip
