#pragma once

#include "format/format.Classifier.h"

namespace format::sv {

// SealedVault: the mark "CTKT" and a header of a known version and cipher.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::sv
