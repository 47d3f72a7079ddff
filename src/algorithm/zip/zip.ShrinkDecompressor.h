#pragma once

#include <cstdint>

#include "stream/stream.Transform.h"

namespace algorithm::zip {

// Zip method 1, shrinking: LZW with codes of 9 to 13 bits. Code 256 escapes a
// control code: 1 widens the codes by one bit, 2 frees every entry that is no
// prefix of another (a partial clear). New entries take the lowest free code.
// The data has no end mark: the partial form stops after `count` bytes, the
// full form at the end of the input.
class ShrinkDecompressor : public stream::Transform {
public:
    uint64_t process(stream::Input& in, stream::Output& out) override;
    uint64_t process(stream::Input& in, stream::Output& out, uint64_t count) override;
};

} // namespace algorithm::zip
