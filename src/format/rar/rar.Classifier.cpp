#include "format/rar/rar.Classifier.h"

#include "format/format.Number.h"
#include "format/rar/rar.MarkerHeader.h"
#include "stream/stream.Array.h"

namespace format::rar {

Classifier::Classifier() : format::Classifier(number::rar, 4000) {}

bool Classifier::recognizes(unsigned offset) const { return holds(offset, "Rar!\x1A\x07") || holds(offset, "RE~^"); }

bool Classifier::confirms(unsigned offset) const {
    stream::ArrayInput in(data->data() + offset, blockSize() - offset);
    MarkerHeader marker;
    marker.read(in, false);
    return marker.valid();
}

unsigned Classifier::candidate(unsigned from) const {
    unsigned size = blockSize();
    if (from >= size) return size;
    const unsigned char* b = bytes();
    for (unsigned at = find(from, 'R'); at < size; at = find(at + 1, 'R'))
        if (at + 1 < size && (b[at + 1] == 'a' || b[at + 1] == 'E')) return at;
    return size;
}

}  // namespace format::rar
