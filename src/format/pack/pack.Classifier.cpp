#include "format/pack/pack.Classifier.h"

#include "format/format.Number.h"

namespace format::pack {

Classifier::Classifier() : format::Classifier(number::pack, 1000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0 && holds(offset, "\x1F\x1E"); }

bool Classifier::confirms(unsigned offset) const { return offset == 0; }

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::pack
