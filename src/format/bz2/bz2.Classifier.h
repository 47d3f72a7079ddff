#pragma once

#include "format/format.Classifier.h"

namespace format::bz2 {

// bzip2: "BZh", the block size digit and the first block's mark.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::bz2
