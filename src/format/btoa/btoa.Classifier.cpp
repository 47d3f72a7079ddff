#include "format/btoa/btoa.Classifier.h"

#include "format/format.Number.h"

namespace format::btoa {

Classifier::Classifier() : format::Classifier(number::btoa, 4000) {}

bool Classifier::recognizes(unsigned offset) const { return holds(offset, "xbtoa Begin") || holds(offset, "xbtoa5 "); }

bool Classifier::confirms(unsigned offset) const {
    unsigned size = blockSize();
    const unsigned char* b = bytes();
    // Byte 5 of the header line tells the two forms apart.
    bool five = b[offset + 5] == '5';
    uint64_t at = uint64_t(offset) + 7;
    if (five) {
        uint32_t number = 0;
        unsigned digits = 0;
        while (at < size && b[at] >= '0' && b[at] <= '9') {
            number = number * 10 + (b[at] - '0');
            ++at;
            if (++digits > 4) return false;
        }
        if (digits == 0 || number > 256) return false;
    }
    while (at < size && b[at] != '\r' && b[at] != '\n') ++at;
    while (at < size && (b[at] == '\r' || b[at] == '\n')) ++at;
    while (at < size && b[at] != '\r' && b[at] != '\n') {
        unsigned char c = b[at];
        if (!((c >= 0x21 && c <= 0x75) || c == 'z' || (five && c == 'y'))) return false;
        ++at;
    }
    return at < size;
}

unsigned Classifier::candidate(unsigned from) const { return find(from, 'x'); }

}  // namespace format::btoa
