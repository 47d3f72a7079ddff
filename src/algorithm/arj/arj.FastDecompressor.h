#pragma once

#include <cstdint>

#include "stream/stream.Transform.h"

namespace algorithm::arj {

// ARJ method 4: LZ77 with lengths and distances in a unary-prefixed code of
// growing widths, and literals as plain bytes. The data has no end mark: it
// stops after `count` bytes, or short of them where its input runs out.
class FastDecompressor : public stream::Transform {
public:
    uint64_t process(stream::Input& in, stream::Output& out, uint64_t count) override;
};

}  // namespace algorithm::arj
