#include "format/ha/ha.Classifier.h"

#include "format/format.Number.h"

namespace format::ha {

Classifier::Classifier() : format::Classifier(number::ha, 1000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0 && holds(offset, "HA"); }

bool Classifier::confirms(unsigned offset) const {
    (void)offset;
    return true;
}

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::ha
