#include "format/cpt/cpt.Classifier.h"

#include "format/format.Number.h"

namespace format::cpt {

Classifier::Classifier() : format::Classifier(number::cpt, 2000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0; }

bool Classifier::confirms(unsigned offset) const {
    if (!within(uint64_t(offset) + 8)) return false;
    const unsigned char* b = bytes() + offset;
    uint32_t directory = uint32_t(b[4]) << 24 | uint32_t(b[5]) << 16 | uint32_t(b[6]) << 8 | b[7];
    return (b[0] == 1 || b[0] == 2) && b[1] == 1 && directory > 8;
}

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::cpt
