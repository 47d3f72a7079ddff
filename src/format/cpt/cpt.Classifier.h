#pragma once

#include "format/format.Classifier.h"

namespace format::cpt {

// Compact Pro: a magic byte of 1 or 2, a volume of 1, and the offset of the directory.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::cpt
