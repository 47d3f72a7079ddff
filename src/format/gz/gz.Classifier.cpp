#include "format/gz/gz.Classifier.h"

#include "format/format.Number.h"

namespace format::gz {

Classifier::Classifier() : format::Classifier(number::gz, 1000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0 && holds(offset, "\x1F\x8B"); }

bool Classifier::confirms(unsigned offset) const { return offset == 0; }

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::gz
