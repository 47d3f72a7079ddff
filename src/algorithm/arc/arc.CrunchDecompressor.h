#pragma once

#include "algorithm/arc/arc.RLEDecoder.h"

namespace algorithm::arc {

// Method 8, crunched: a byte 12, then the codes of Unix compress in block
// mode, 9 to 12 bits wide, and the output packed.
class CrunchDecompressor : public CountedDecoder {
protected:
    void decode(stream::Input& in, stream::Output& out) override;
};

// Method 9, squashed: the same codes up to 13 bits, without the byte and
// without packing.
class SquashDecompressor : public CountedDecoder {
protected:
    void decode(stream::Input& in, stream::Output& out) override;
};

}  // namespace algorithm::arc
