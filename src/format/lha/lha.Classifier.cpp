#include "format/lha/lha.Classifier.h"

#include "format/format.Number.h"

namespace format::lha {

Classifier::Classifier() : format::Classifier(number::lha, 4000) {}

bool Classifier::recognizes(unsigned offset) const { return holds(offset + 2, "-l"); }

bool Classifier::confirms(unsigned offset) const {
    unsigned size = blockSize();
    if (!within(uint64_t(offset) + 20)) return false;
    const unsigned char* b = bytes() + offset;
    unsigned headerSize = b[0];
    unsigned sum = b[1];
    unsigned level = b[20];
    if (level >= 3) return false;
    if (level == 2) {
        // The two bytes are the whole header's length here; there is no checksum.
        headerSize = sum == 0 ? headerSize - 2 : 255;
        sum = 0;
    }
    if (!within(uint64_t(offset) + headerSize)) return false;
    if (level == 2) return true;
    // The summed bytes run two past the size; they must be in the block too.
    if (uint64_t(offset) + 2 + headerSize > size) return false;
    unsigned char total = 0;
    for (unsigned i = 0; i < headerSize; ++i) total = static_cast<unsigned char>(total + b[2 + i]);
    return total == sum;
}

unsigned Classifier::candidate(unsigned from) const {
    unsigned at = find(from + 2, '-');
    return at >= blockSize() ? blockSize() : at - 2;
}

}  // namespace format::lha
