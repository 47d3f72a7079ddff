#include "format/sv/sv.ArchiveHeader.h"

#include "format/format.Exception.h"
#include "stream/stream.Array.h"
#include "stream/stream.ByteOrder.h"

namespace format::sv {

void ArchiveHeader::read(stream::Input& in, bool strict) {
    char bytes[12];
    complete_ = in.read(bytes, 12) == 12;
    if (!complete_) {
        if (strict) throw Exception("truncated header in format::sv::ArchiveHeader::read");
        return;
    }
    stream::ArrayInput array(bytes, 12);
    stream::BigEndianInput be(array);
    be >> signature >> version >> cipher >> reserved;
    if (strict && !valid()) throw Exception("bad signature in format::sv::ArchiveHeader::read");
}

void ArchiveHeader::write(stream::Output& out) const {
    stream::BigEndianOutput be(out);
    be << signature << version << cipher << reserved;
}

}  // namespace format::sv
