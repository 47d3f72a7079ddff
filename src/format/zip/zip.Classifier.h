#pragma once

#include "format/format.Classifier.h"

namespace format::zip {

// Zip: a local header, also behind a self-extractor, or the end header of an
// empty archive.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override { return find(from, 'P'); }
};

}  // namespace format::zip
