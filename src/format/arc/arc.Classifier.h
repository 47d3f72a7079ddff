#pragma once

#include "format/format.Classifier.h"

namespace format::arc {

// ARC: a 0x1A mark, a method byte below 0x20 and an 8.3 DOS name.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;
    // The characters a DOS file name may hold, as ARC allows them.
    static bool isDosChar(unsigned char c);
};

}  // namespace format::arc
