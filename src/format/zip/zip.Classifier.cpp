#include "format/zip/zip.Classifier.h"

#include "format/format.Number.h"

namespace format::zip {

Classifier::Classifier() : format::Classifier(number::zip, 3000) {}

bool Classifier::recognizes(unsigned offset) const {
    return holds(offset, "PK\x03\x04") || holds(offset, "PK\x05\x06");
}

bool Classifier::confirms(unsigned offset) const {
    const unsigned char* b = bytes() + offset;
    if (b[2] == 3) {
        if (!within(uint64_t(offset) + 30)) return false;
        encrypted((b[6] & 1) != 0);
        return true;
    }
    if (!within(uint64_t(offset) + 21)) return false;
    return b[20] == 0 && b[21] == 0;
}

} // namespace format::zip
