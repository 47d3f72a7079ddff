#pragma once

#include <cstdint>

#include "algorithm/bit.MSB.h"

namespace algorithm::arith {

// The decoding half of a 26-bit arithmetic coder with carry-less
// renormalisation. get(total) answers the count under the code value;
// decode(low, high, total) removes the symbol that owns [low, high). The last
// symbol of a table (high == total) takes the slack of the truncated division.
// Past the end of the input each new bit adds -1 to the value: no error is
// raised here, a short stream shows up as a wrong symbol or a failed check.
class DCC95Decoder {
public:
    explicit DCC95Decoder(bit::MSBInput<int32_t>& in) : in_(in) {
        for (int i = 0; i < bits; ++i) value = value * 2 + static_cast<uint32_t>(in_.read());
    }

    uint32_t get(uint32_t total) {
        r = range / total;
        uint32_t v = value / r;
        return v < total - 1 ? v : total - 1;
    }

    void decode(uint32_t low, uint32_t high, uint32_t total) {
        value -= r * low;
        if (high < total)
            range = (high - low) * r;
        else
            range -= r * low;
        if (range > (uint32_t(1) << (bits - 2))) return;
        // All the doublings at once: range is at least r, so k is small.
        int k = __builtin_clz(range - 1) - (32 - (bits - 2) - 1);
        int32_t next = in_.read(static_cast<unsigned>(k));
        if (next >= 0) {
            range <<= k;
            value = (value << k) + static_cast<uint32_t>(next);
            return;
        }
        // Near the end of the input, bit by bit as far as it goes.
        while (range <= (uint32_t(1) << (bits - 2))) {
            range <<= 1;
            value = value * 2 + static_cast<uint32_t>(in_.read());
        }
    }

    bit::MSBInput<int32_t>& input() const { return in_; }

    // A well-formed stream never makes the decoder read past its end by more
    // than the padding of its last byte; a damaged one can leave it drawing -1
    // bits forever. Past this many the caller gives the stream up.
    bool exhausted() const { return in_.misses() > maxMisses; }
    static constexpr uint64_t maxMisses = 4096;

    static constexpr int bits = 26;

private:
    bit::MSBInput<int32_t>& in_;
    uint32_t r = 0;
    uint32_t range = uint32_t(1) << 25;
    uint32_t value = 0;
};

} // namespace algorithm::arith
