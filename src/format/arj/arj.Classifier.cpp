#include "format/arj/arj.Classifier.h"

#include "format/arj/arj.ArchiveHeader.h"
#include "format/format.Number.h"
#include "stream/stream.Array.h"

namespace format::arj {

Classifier::Classifier() : format::Classifier(number::arj, 4000) {}

bool Classifier::recognizes(unsigned offset) const { return holds(offset, "\x60\xEA"); }

bool Classifier::confirms(unsigned offset) const {
    stream::ArrayInput in(data->data() + offset, blockSize() - offset);
    ArchiveHeader header;
    header.read(in, false);
    return header.valid();
}

unsigned Classifier::candidate(unsigned from) const { return find(from, 0x60); }

}  // namespace format::arj
