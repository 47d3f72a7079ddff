#pragma once

#include "format/format.Classifier.h"

namespace format::rar {

// RAR: the marker block, of the versions 1.5 to 4 or the older one.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
};

}  // namespace format::rar
