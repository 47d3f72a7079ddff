#pragma once

#include "format/format.Classifier.h"

namespace format::gz {

// gzip: 0x1F 0x8B at the start.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::gz
