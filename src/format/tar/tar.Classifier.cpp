#include "format/tar/tar.Classifier.h"

#include "format/format.Number.h"
#include "format/tar/tar.Header.h"
#include "stream/stream.Array.h"

namespace format::tar {

Classifier::Classifier() : format::Classifier(number::tar, 2000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0; }

bool Classifier::confirms(unsigned) const {
    if (blockSize() < Header::min_size) return false;
    stream::ArrayInput in(data->data(), blockSize());
    Header header;
    header.read(in, false);
    return header.valid();
}

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::tar
