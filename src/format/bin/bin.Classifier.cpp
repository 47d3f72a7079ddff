#include "format/bin/bin.Classifier.h"

#include "format/bin/bin.Header.h"
#include "format/format.Number.h"
#include "stream/stream.Array.h"

namespace format::bin {

Classifier::Classifier() : format::Classifier(number::bin, 3000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0; }

bool Classifier::confirms(unsigned) const {
    if (blockSize() < Header::min_size) return false;
    stream::ArrayInput in(data->data(), blockSize());
    Header header;
    header.read(in, false);
    return header.valid();
}

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::bin
