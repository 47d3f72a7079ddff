#pragma once

#include "format/format.Classifier.h"

namespace format::lha {

// LHA: "-l" of the method name at offset 2, and the header's size, level and checksum.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::lha
