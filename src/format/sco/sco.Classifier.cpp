#include "format/sco/sco.Classifier.h"

#include "format/format.Number.h"

namespace format::sco {

Classifier::Classifier() : format::Classifier(number::sco, 1000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0 && holds(offset, "\x1F\xA0"); }

bool Classifier::confirms(unsigned offset) const {
    (void)offset;
    return true;
}

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::sco
