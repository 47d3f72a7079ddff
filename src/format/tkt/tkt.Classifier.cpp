#include "format/tkt/tkt.Classifier.h"

#include "format/format.Number.h"

namespace format::tkt {

Classifier::Classifier() : format::Classifier(number::tkt, 4000) {}

bool Classifier::recognizes(unsigned offset) const { return holds(offset, "TKT!"); }

bool Classifier::confirms(unsigned offset) const {
    if (!within(uint64_t(offset) + 22)) return false;
    const unsigned char* b = bytes() + offset;
    return b[10] == 'r' && b[11] == 'T' && b[12] == 'u' && b[13] == 'k' && (b[14] == 1 || b[14] == 2);
}

} // namespace format::tkt
