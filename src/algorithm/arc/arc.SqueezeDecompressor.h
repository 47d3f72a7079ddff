#pragma once

#include "stream/stream.Transform.h"

namespace algorithm::arc {

// Method 4, squeezed: a Huffman tree stored as its nodes, then codes read
// from the low bit of each byte up, ending at the end-of-file value 256 (or
// with the data). What it writes is still packed: the reader takes it
// through a RunLengthOutput.
class SqueezeDecompressor : public stream::Transform {
public:
    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;
};

}  // namespace algorithm::arc
