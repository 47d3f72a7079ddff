#pragma once

#include "format/format.Classifier.h"

namespace format::tktseg {

// The first segment of a segmented Tuckett archive: a valid segment header at
// the start with the segment number 1.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override { return headOnly(from); }
};

// Any later segment: the same header with a number other than 1.
class ClassifierN : public format::Classifier {
public:
    ClassifierN();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override { return headOnly(from); }
};

}  // namespace format::tktseg
