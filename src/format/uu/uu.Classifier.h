#pragma once

#include "format/format.Classifier.h"

namespace format::uu {

// uuencode: a "begin" line followed by a line of encoded data.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::uu
