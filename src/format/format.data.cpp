#include "format/format.data.h"

#include "format/format.Exception.h"
#include "stream/stream.ByteOrder.h"

namespace format::data {

std::string OSType::stringValue() const {
    std::string text(4, ' ');
    for (int i = 0; i < 4; ++i) text[i] = static_cast<char>(value_ >> (24 - 8 * i));
    return text;
}

void OSType::stringValue(const std::string& text) {
    uint32_t v = value_;
    for (std::string::size_type i = 0; i < 4; ++i) {
        int32_t byte = i < text.size() ? static_cast<int32_t>(static_cast<signed char>(text[i])) : 0x20;
        v = (v << 8) | static_cast<uint32_t>(byte);
    }
    value_ = v;
}

void OSType::read(stream::Input& in, bool) {
    char bytes[4];
    if (in.read(bytes, 4) < 4)
        throw Exception("format::data::OSType::read() cannot read from a stream with fewer than four characters");
    stringValue(std::string(bytes, 4));
}

void OSType::write(stream::Output& out) const {
    for (int i = 0; i < 4; ++i) out.write(static_cast<char>(value_ >> (24 - 8 * i)));
}

void Point::read(stream::Input& in, bool) {
    stream::BigEndianInput be(in);
    v(be.s16());
    h(be.s16());
}

void Point::write(stream::Output& out) const {
    stream::BigEndianOutput be(out);
    be << v() << h();
}

void Rect::read(stream::Input& in, bool) {
    stream::BigEndianInput be(in);
    top(be.s16());
    left(be.s16());
    bottom(be.s16());
    right(be.s16());
}

void Rect::write(stream::Output& out) const {
    stream::BigEndianOutput be(out);
    be << top() << left() << bottom() << right();
}

void FileInfo::read(stream::Input& in, bool strict) {
    type().read(in, strict);
    creator().read(in, strict);
    stream::BigEndianInput be(in);
    flags(be.u16());
    location().read(in, strict);
    be.u16();
}

void FileInfo::write(stream::Output& out) const {
    type().write(out);
    creator().write(out);
    stream::BigEndianOutput be(out);
    be << flags();
    location().write(out);
    be << uint16_t(0);
}

void ExtendedFileInfo::read(stream::Input& in, bool) {
    stream::BigEndianInput be(in);
    be.u32();
    be.u32();
    extendedFlags(be.u16());
    comment(be.s16());
    putAway(be.s32());
}

void ExtendedFileInfo::write(stream::Output& out) const {
    stream::BigEndianOutput be(out);
    be << uint32_t(0) << uint32_t(0) << extendedFlags() << comment() << putAway();
}

void FolderInfo::read(stream::Input& in, bool strict) {
    rect().read(in, strict);
    stream::BigEndianInput be(in);
    flags(be.u16());
    location().read(in, strict);
    be.u16();
}

void FolderInfo::write(stream::Output& out) const {
    rect().write(out);
    stream::BigEndianOutput be(out);
    be << flags();
    location().write(out);
    be << uint16_t(0);
}

void ExtendedFolderInfo::read(stream::Input& in, bool strict) {
    scroll().read(in, strict);
    stream::BigEndianInput be(in);
    be.u32();
    extendedFlags(be.u16());
    comment(be.s16());
    putAway(be.s32());
}

void ExtendedFolderInfo::write(stream::Output& out) const {
    scroll().write(out);
    stream::BigEndianOutput be(out);
    be << uint32_t(0) << extendedFlags() << comment() << putAway();
}

} // namespace format::data
