#include "format/compress/compress.Classifier.h"

#include "format/format.Number.h"

namespace format::compress {

Classifier::Classifier() : format::Classifier(number::compress, 1000) {}

bool Classifier::recognizes(unsigned offset) const { return offset == 0 && holds(offset, "\x1F\x9D"); }

bool Classifier::confirms(unsigned offset) const { return offset == 0; }

unsigned Classifier::candidate(unsigned from) const { return headOnly(from); }

}  // namespace format::compress
