#pragma once

#include "format/format.Classifier.h"

namespace format::tkt {

// Classic Tuckett archives: "TKT!" and a valid archive header of version 1 or 2.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override { return find(from, 'T'); }
};

}  // namespace format::tkt
