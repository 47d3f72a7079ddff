#pragma once

#include "algorithm/arc/arc.RLEDecoder.h"

namespace algorithm::arc {

// Methods 5 to 7, the first crunching: LZW with twelve-bit codes, two in
// three bytes, whose table places each new string where a hash of it points
// (method 7 hashes faster than 5 and 6). Methods 6 and 7 pack their output.
class Crunch567Decompressor : public CountedDecoder {
public:
    explicit Crunch567Decompressor(int method);

protected:
    void decode(stream::Input& in, stream::Output& out) override;

private:
    int method_;
};

}  // namespace algorithm::arc
