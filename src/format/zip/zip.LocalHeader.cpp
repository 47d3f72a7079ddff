#include "format/zip/zip.LocalHeader.h"

#include "format/format.Exception.h"
#include "format/zip/zip.Strings.h"
#include "stream/stream.ByteOrder.h"
#include "un/un.assert.h"

namespace format::zip {

LocalHeader::LocalHeader() : artifact(artifactPattern) {
    un_assert(size() == 30);
    un_assert(max_size() == 30 + 65535 + 65535);
}

bool LocalHeader::valid() const { return artifact() == artifactPattern && (versionNeeded() & 0xFF) <= maxVersion; }

void LocalHeader::read(stream::Input& input, bool check) {
    stream::LittleEndianInput in(input);
    artifact(in.u32());
    if (check && artifact() != artifactPattern) throw Exception("bad header artfact in format::zip::LocalHeader::read()");
    versionNeeded(in.u16());
    flags(in.u16());
    method(in.u16());
    time(in.u16());
    date(in.u16());
    crc(in.u32());
    compressedSize(in.u32());
    uncompressedSize(in.u32());
    const uint16_t nameLength = in.u16();
    const uint16_t extraLength = in.u16();
    name(readString(input, nameLength));
    extra(readString(input, extraLength));
}

void LocalHeader::write(stream::Output& output) const {
    if (name().size() > 65535) throw Exception("file name is too long in format::zip::LocalHeader::write()");
    if (extra().size() > 65535) throw Exception("extra data is too long in format::zip::LocalHeader::write()");
    stream::LittleEndianOutput out(output);
    out << artifactPattern << versionNeeded() << flags() << method() << time() << date() << crc() << compressedSize()
        << uncompressedSize() << static_cast<uint16_t>(name().size()) << static_cast<uint16_t>(extra().size());
    writeString(output, name());
    writeString(output, extra());
}

uint32_t LocalHeader::size() const {
    return fixed_size + static_cast<uint32_t>(name().size()) + static_cast<uint32_t>(extra().size());
}

bool LocalHeader::folder() const { return !name().empty() && name().back() == '/'; }

} // namespace format::zip
