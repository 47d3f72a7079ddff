#include "format/tkt/tkt.Classifier.h"

#include "format/format.Number.h"
#include "format/tkt/tkt.ArchiveHeader.h"
#include "stream/stream.Array.h"
#include "un/un.exception.h"

namespace format::tkt {

Classifier::Classifier() : format::Classifier(number::tkt, 4000) {}

bool Classifier::recognizes(unsigned offset) const { return holds(offset, "TKT!"); }

bool Classifier::confirms(unsigned offset) const {
    stream::ArrayInput in(data->data() + offset, blockSize() - offset);
    ArchiveHeader header;
    try {
        header.read(in, false);
    } catch (const un::exception&) {
        return false;
    }
    return header.valid() && (header.version() == 1 || header.version() == 2);
}

}  // namespace format::tkt
