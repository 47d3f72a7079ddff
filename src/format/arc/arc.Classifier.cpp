#include "format/arc/arc.Classifier.h"

#include "format/format.Number.h"

namespace format::arc {

bool Classifier::isDosChar(unsigned char c) {
    return c == '!' || (c >= '#' && c <= ')') || c == '-' || (c >= '0' && c <= '9') || (c >= '@' && c <= 'Z') ||
           (c >= '^' && c <= '{') || (c >= '}' && c <= '~');
}

Classifier::Classifier() : format::Classifier(number::arc, 2000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0 && holds(offset, "\x1A"); }

bool Classifier::confirms(unsigned offset) const {
    if (!within(uint64_t(offset) + 15)) return false;
    const unsigned char* b = bytes() + offset;
    if (b[1] >= 0x20) return false;
    for (unsigned i = 2; i < 14 && b[i] != 0; ++i) {
        unsigned char c = b[i] & 0x7F;
        if (!isDosChar(c) && c != '.') return false;
    }
    return true;
}

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::arc
