#pragma once

#include <cstdint>

#include "stream/stream.Transform.h"

namespace algorithm::zip {

// Zip method 6, imploding: LZ77 over a 4K or 8K window with Shannon-Fano
// coded lengths and distances, and literals coded by a third tree or stored
// as bytes. The trees lead the data. With `threeTrees` (Zip flag bit 2) the
// literals are coded and the shortest match is 3 bytes, otherwise 2; with
// `largeWindow` (flag bit 1) distances reach 8K. The data has no end mark:
// the partial form stops after `count` bytes, the full form at the end of the
// input.
class ImplodeDecompressor : public stream::Transform {
public:
    ImplodeDecompressor(bool threeTrees, bool largeWindow) : threeTrees_(threeTrees), largeWindow_(largeWindow) {}

    uint64_t process(stream::Input& in, stream::Output& out) override;
    uint64_t process(stream::Input& in, stream::Output& out, uint64_t count) override;

private:
    bool threeTrees_;
    bool largeWindow_;
};

} // namespace algorithm::zip
