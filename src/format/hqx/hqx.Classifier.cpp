#include "format/hqx/hqx.Classifier.h"

#include "algorithm/hqx/hqx.Line.h"
#include "format/format.Number.h"

namespace format::hqx {

Classifier::Classifier() : format::Classifier(number::hqx, 2000) {}

bool Classifier::recognizes(unsigned offset) const {
    return holds(offset, "(This file must be converted with BinHex") || holds(offset, ":");
}

bool Classifier::confirms(unsigned offset) const {
    unsigned size = blockSize();
    const unsigned char* b = bytes();
    uint64_t at = offset;
    start = 0;
    if (b[at] == '(') {
        while (at < size && b[at] != '\r' && b[at] != '\n') ++at;
        while (at < size && (b[at] == '\r' || b[at] == '\n')) ++at;
        if (at < size && b[at] != ':') return false;
        // The data begin at the colon, not at the parenthesis.
        start = static_cast<int32_t>(at - offset);
    }
    return at < size && algorithm::hqx::Line::isFirstBinHexLine(data->data() + at, static_cast<uint32_t>(size - at));
}

unsigned Classifier::candidate(unsigned from) const {
    unsigned size = blockSize();
    if (from >= size) return size;
    const unsigned char* b = bytes();
    for (unsigned at = from; at < size; ++at)
        if (b[at] == ':' || b[at] == '(') return at;
    return size;
}

}  // namespace format::hqx
