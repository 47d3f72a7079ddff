#pragma once

#include "format/format.Classifier.h"

namespace format::compress {

// Unix compress: 0x1F 0x9D at the start.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::compress
