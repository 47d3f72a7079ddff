#pragma once

#include "format/format.Classifier.h"

namespace format::btoa {

// btoa: an "xbtoa Begin" or "xbtoa5" line followed by a line of encoded text.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::btoa
