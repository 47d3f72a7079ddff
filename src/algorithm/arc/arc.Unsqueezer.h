#pragma once

#include "algorithm/arc/arc.Unpacker.h"

namespace algorithm::arc {

// Method 4, squeezed: a Huffman tree stored as its nodes, then codes read
// from the low bit of each byte up, ending at the end-of-file value 256; the
// decoded bytes are packed as method 3 packs them.
class Unsqueezer : public MethodDecoder {
protected:
    void decode(stream::Input& in, stream::Output& out) override;
};

}  // namespace algorithm::arc
