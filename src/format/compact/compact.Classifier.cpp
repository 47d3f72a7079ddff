#include "format/compact/compact.Classifier.h"

#include "format/format.Number.h"

namespace format::compact {

Classifier::Classifier() : format::Classifier(number::compact, 1000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0 && holds(offset, "\xFF\x1F"); }

bool Classifier::confirms(unsigned offset) const { return offset == 0; }

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::compact
