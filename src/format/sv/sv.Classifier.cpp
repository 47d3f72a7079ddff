#include "format/sv/sv.Classifier.h"

#include "format/format.Number.h"
#include "format/sv/sv.ArchiveHeader.h"
#include "stream/stream.Array.h"

namespace format::sv {

Classifier::Classifier() : format::Classifier(number::sv, 4000) {}

bool Classifier::recognizes(unsigned offset) const { return holds(offset, "CTKT"); }

bool Classifier::confirms(unsigned offset) const {
    stream::ArrayInput in(data->data() + offset, blockSize() - offset);
    ArchiveHeader header;
    header.read(in, false);
    if (!header.valid() || (header.version != 1 && header.version != 2) ||
        (header.cipher != 0 && header.cipher != 13) || header.reserved != 0)
        return false;
    encrypted(false);
    return true;
}

unsigned Classifier::candidate(unsigned from) const { return find(from, 'C'); }

}  // namespace format::sv
