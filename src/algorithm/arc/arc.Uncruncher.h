#pragma once

#include "algorithm/arc/arc.Unpacker.h"

namespace algorithm::arc {

// Methods 5 to 7, the first crunching: LZW with twelve-bit codes, two to
// three bytes, whose table places each new string where a hash of it points
// (method 7 hashes faster than 5 and 6). Methods 6 and 7 pack their output.
class OldUncruncher : public MethodDecoder {
public:
    explicit OldUncruncher(int method);

protected:
    void decode(stream::Input& in, stream::Output& out) override;

private:
    int method_;
};

// Method 8, crunched: a byte 12, then the codes of Unix compress in block
// mode, 9 to 12 bits wide, and the output packed. Method 9, squashed: the
// same codes up to 13 bits, without the byte and without packing.
class Uncruncher : public MethodDecoder {
public:
    explicit Uncruncher(int method);

protected:
    void decode(stream::Input& in, stream::Output& out) override;

private:
    int method_;
};

}  // namespace algorithm::arc
