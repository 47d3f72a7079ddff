#include "format/tkt/tkt.ArchiveHeader.h"

#include "format/format.Exception.h"
#include "stream/stream.ByteOrder.h"

namespace format::tkt {

ArchiveHeader::ArchiveHeader()
    : artifact1Pattern(artifact1Value),
      itemCount(0),
      archiveSize(0),
      artifact2Pattern(artifact2Value),
      version(2),
      firstItem(fixed_size()) {}

bool ArchiveHeader::valid() const {
    return artifact1Pattern() == artifact1Value && artifact2Pattern() == artifact2Value &&
           (version() == 1 || version() == 2);
}

void ArchiveHeader::read(stream::Input& in, bool strict) {
    stream::BigEndianInput be(in);
    artifact1Pattern(be.u32());
    if (strict && artifact1Pattern() != artifact1Value)
        throw Exception("bad header artfact 1 in format::tkt::ArchiveHeader::read()");
    itemCount(be.u16());
    archiveSize(be.u32());
    artifact2Pattern(be.u32());
    if (strict && artifact2Pattern() != artifact2Value)
        throw Exception("bad header artfact 2 in format::tkt::ArchiveHeader::read()");
    version(be.u8());
    be.u8();
    firstItem(be.u32());
    be.u16();
}

void ArchiveHeader::write(stream::Output& out) const {
    stream::BigEndianOutput be(out);
    be << artifact1Pattern() << itemCount() << archiveSize() << artifact2Pattern() << version() << uint8_t(0)
       << firstItem() << uint16_t(0);
}

} // namespace format::tkt
