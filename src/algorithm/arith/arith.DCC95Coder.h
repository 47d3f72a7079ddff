#pragma once

#include <cstdint>

#include "algorithm/algorithm.Assertion.h"
#include "algorithm/bit.MSB.h"

namespace algorithm::arith {

// The coding half of the 26-bit arithmetic coder. L is the low end of the
// interval and R its width; a bit that the interval still straddles at the
// midpoint is held as outstanding and written, inverted, after the next
// decided bit. finish() writes all 26 bits of L.
class DCC95Coder {
public:
    explicit DCC95Coder(bit::MSBOutput<int32_t>& out) : out_(out) {}

    void encode(uint32_t low, uint32_t high, uint32_t total) {
        ALGORITHM_ASSERT((1u << (b - 2)) < R, "(1u << (b - 2)) < R");
        ALGORITHM_ASSERT(L < (1u << b) - (1 << (b - 2)), "L < (1u << b) - (1 << (b - 2))");
        ALGORITHM_ASSERT(L + R <= (1u << b), "L + R <= (1u << b)");
        uint32_t r = R / total;
        L += r * low;
        if (high < total)
            R = r * (high - low);
        else
            R -= r * low;
        renormalize();
    }

    void finish() {
        for (int i = b; i >= 1; --i) {
            int32_t bit = static_cast<int32_t>((L >> (i - 1)) & 1);
            ALGORITHM_ASSERT(bit == 0 || bit == 1, "bit == 0 || bit == 1");
            put(bit);
        }
    }

private:
    void renormalize() {
        while (R <= (uint32_t(1) << (b - 2))) {
            if (L + R > (uint32_t(1) << (b - 1))) {
                if (L < (uint32_t(1) << (b - 1))) {
                    ++outstanding;
                    L -= uint32_t(1) << (b - 2);
                } else {
                    put(1);
                    L -= uint32_t(1) << (b - 1);
                }
            } else {
                put(0);
            }
            L <<= 1;
            R <<= 1;
        }
    }

    // A decided bit, then the outstanding bits as its opposite.
    void put(int32_t bit) {
        out_.write(bit);
        for (; outstanding > 0; --outstanding) out_.write(bit ^ 1);
    }

    static constexpr int b = 26;

    bit::MSBOutput<int32_t>& out_;
    uint32_t L = 0;
    uint32_t R = uint32_t(1) << 25;
    uint32_t outstanding = 0;
};

} // namespace algorithm::arith
