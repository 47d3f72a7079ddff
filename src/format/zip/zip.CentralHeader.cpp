#include "format/zip/zip.CentralHeader.h"

#include "format/format.Exception.h"
#include "format/zip/zip.LocalHeader.h"
#include "format/zip/zip.Strings.h"
#include "stream/stream.ByteOrder.h"
#include "un/un.assert.h"

namespace format::zip {

CentralHeader::CentralHeader() : artifact(artifactPattern) {
    un_assert(size() == 46);
    un_assert(max_size() == 46 + 65535 + 65535 + 65535);
}

bool CentralHeader::valid() const { return artifact() == artifactPattern; }

void CentralHeader::read(stream::Input& input, bool check) {
    stream::LittleEndianInput in(input);
    artifact(in.u32());
    if (check && artifact() != artifactPattern)
        throw Exception("bad header artfact in format::zip::CentralHeader::read()");
    versionMadeBy(in.u16());
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
    const uint16_t commentLength = in.u16();
    diskStart(in.u16());
    internalAttributes(in.u16());
    externalAttributes(in.u32());
    localHeaderOffset(in.u32());
    name(readString(input, nameLength));
    extra(readString(input, extraLength));
    comment(readString(input, commentLength));
}

void CentralHeader::writeCommon(stream::LittleEndianOutput& out) const {
    if (name().size() > 65535) throw Exception("file name is too long in format::zip::CentralHeader::writeCommon()");
    if (extra().size() > 65535) throw Exception("extra field is too long in format::zip::CentralHeader::writeCommon()");
    out << versionNeeded() << flags() << method() << time() << date() << crc() << compressedSize()
        << uncompressedSize() << static_cast<uint16_t>(name().size()) << static_cast<uint16_t>(extra().size());
}

void CentralHeader::write(stream::Output& output) const {
    if (comment().size() > 65535) throw Exception("file comment is too long in format::zip::CentralHeader::write()");
    if (name().size() > 65535) throw Exception("file name is too long in format::zip::CentralHeader::writeCommon()");
    if (extra().size() > 65535) throw Exception("extra field is too long in format::zip::CentralHeader::writeCommon()");
    stream::LittleEndianOutput out(output);
    out << artifactPattern << versionMadeBy();
    writeCommon(out);
    out << static_cast<uint16_t>(comment().size()) << diskStart() << internalAttributes() << externalAttributes()
        << localHeaderOffset();
    writeString(output, name());
    writeString(output, extra());
    writeString(output, comment());
}

void CentralHeader::writeLocal(stream::Output& output) const {
    if (name().size() > 65535) throw Exception("file name is too long in format::zip::CentralHeader::writeCommon()");
    if (extra().size() > 65535) throw Exception("extra field is too long in format::zip::CentralHeader::writeCommon()");
    stream::LittleEndianOutput out(output);
    out << LocalHeader::artifactPattern;
    writeCommon(out);
    writeString(output, name());
    writeString(output, extra());
}

uint32_t CentralHeader::size() const {
    return fixed_size + static_cast<uint32_t>(name().size() + extra().size() + comment().size());
}

} // namespace format::zip
