#pragma once

#include "format/format.Classifier.h"

namespace format::hqx {

// BinHex 4.0: the "(This file must be converted with BinHex" line, or the colon of the data.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::hqx
