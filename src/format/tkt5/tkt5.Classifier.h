#pragma once

#include "format/format.Classifier.h"

namespace format::tkt5 {

// tkt5: the signature text with its year, and a valid archive header.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override { return find(from, 'T'); }
};

}  // namespace format::tkt5
