#pragma once

#include "format/format.Classifier.h"

namespace format::arj {

// ARJ: the main header, found by its mark 0x60 0xEA and its CRC, also inside a self-extractor.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::arj
