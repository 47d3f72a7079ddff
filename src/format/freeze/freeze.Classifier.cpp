#include "format/freeze/freeze.Classifier.h"

#include "format/format.Number.h"

namespace format::freeze {

Classifier::Classifier() : format::Classifier(number::freeze, 1000) {}

bool Classifier::recognizes(unsigned offset) const {
    return offset == 0 && (holds(offset, "\x1F\x9E") || holds(offset, "\x1F\x9F"));
}

bool Classifier::confirms(unsigned offset) const {
    (void)offset;
    return true;
}

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::freeze
