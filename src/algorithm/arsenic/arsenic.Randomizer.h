#pragma once

#include <cstdint>

namespace algorithm::arsenic {

// Flips the low bit of bytes at pseudo-random distances through a block, so
// that a highly repetitive block loses its long common prefixes before it is
// sorted. The operation is its own inverse. Position 0 is never flipped; a
// step that lands at or past `length` changes nothing.
class Randomizer {
public:
    static void randomize(char* buffer, uint32_t length);
    static const uint16_t distance[256];
};

} // namespace algorithm::arsenic
