#pragma once

#include "format/format.Classifier.h"

namespace format::mime {

// MIME: a "MIME-Version:" or "Content-Type:" header, in any case.
class Classifier : public format::Classifier {
public:
    Classifier();
    bool recognizes(unsigned offset) const override;
    bool confirms(unsigned offset) const override;
    unsigned candidate(unsigned from) const override;

private:
    bool holdsLower(unsigned offset, const char* pattern) const;
};

}  // namespace format::mime
