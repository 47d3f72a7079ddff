#include "format/tkt5/tkt5.Classifier.h"

#include "format/format.Number.h"

namespace format::tkt5 {

Classifier::Classifier() : format::Classifier(number::tkt5, 4000) {}

bool Classifier::recognizes(unsigned offset) const {
    if (!holds(offset, "Tuckett (c)1997-") || !holds(offset + 20, " Orbelle Systems, Inc., ") ||
        !holds(offset + 78, "\x0D\x0A\x1A"))
        return false;
    const unsigned char* year = bytes() + offset + 16;
    for (int i = 0; i < 4; ++i)
        if (year[i] < '0' || year[i] > '9') return false;
    return true;
}

bool Classifier::confirms(unsigned) const { return true; }

} // namespace format::tkt5
