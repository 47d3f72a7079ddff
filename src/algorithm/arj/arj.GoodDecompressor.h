#pragma once

#include <cstdint>

#include "stream/stream.Transform.h"

namespace algorithm::arj {

// ARJ methods 1 to 3: LZ77 over a 26,624-byte window, with matches of 3 to
// 256 bytes, in blocks that each lead with their static Huffman codes (one
// for literals and lengths, one for the bit count of the distance, and one
// that codes the first's lengths). The data has no end mark: it stops after
// `count` bytes, or short of them where its input runs out.
class GoodDecompressor : public stream::Transform {
public:
    uint64_t process(stream::Input& in, stream::Output& out, uint64_t count) override;
};

}  // namespace algorithm::arj
