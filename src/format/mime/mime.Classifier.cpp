#include "format/mime/mime.Classifier.h"

#include <cstring>

#include "format/format.Number.h"

namespace format::mime {

bool Classifier::holdsLower(unsigned offset, const char* pattern) const {
    uint64_t length = std::strlen(pattern);
    if (uint64_t(offset) + length >= blockSize()) return false;
    const unsigned char* b = bytes() + offset;
    for (uint64_t i = 0; i < length; ++i)
        if ((b[i] >= 'A' && b[i] <= 'Z' ? b[i] + 32 : b[i]) != static_cast<unsigned char>(pattern[i])) return false;
    return true;
}

Classifier::Classifier() : format::Classifier(number::mime, 3000) {}

bool Classifier::recognizes(unsigned offset) const {
    return holdsLower(offset, "mime-version: ") || holdsLower(offset, "content-type: ");
}

bool Classifier::confirms(unsigned offset) const {
    (void)offset;
    return true;
}

unsigned Classifier::candidate(unsigned from) const {
    unsigned size = blockSize();
    const unsigned char* b = bytes();
    for (unsigned at = from; at < size; ++at) {
        unsigned char c = b[at] | 0x20;
        if (c == 'm' || c == 'c') return at;
    }
    return size;
}

}  // namespace format::mime
