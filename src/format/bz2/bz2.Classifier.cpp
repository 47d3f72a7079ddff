#include "format/bz2/bz2.Classifier.h"

#include "format/format.Number.h"

namespace format::bz2 {

Classifier::Classifier() : format::Classifier(number::bz2, 4000) {}

bool Classifier::recognizes(unsigned offset) const { return holds(offset, "BZh"); }

bool Classifier::confirms(unsigned offset) const {
    // The digit is looked for at byte 3 of the block, wherever the match is.
    if (blockSize() <= 10) return false;
    unsigned char digit = bytes()[3];
    return digit >= '1' && digit <= '9' && holds(offset + 4, "1AY&SY");
}

unsigned Classifier::candidate(unsigned from) const { return find(from, 'B'); }

}  // namespace format::bz2
