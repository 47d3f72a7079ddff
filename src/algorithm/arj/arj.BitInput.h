#pragma once

#include <cstdint>

#include "stream/stream.Input.h"

namespace algorithm::arj {

// The bit input of the ARJ methods: fields most significant bit first, looked
// at up to 16 bits ahead. Past the end of its input it supplies zero bits and
// counts them, so that a decoder can tell when it has run beyond its data.
class BitInput {
public:
    explicit BitInput(stream::Input& in) : in_(&in) {}

    // The next n bits, n at most 16, without taking them. No bits are 0:
    // shifting the full 64-bit accumulator right by its width is undefined.
    uint32_t peek(unsigned n) {
        if (n == 0) return 0;
        if (count_ < n) fill();
        return static_cast<uint32_t>(accumulator_ >> (count_ - n)) & ((1u << n) - 1);
    }
    void skip(unsigned n) {
        if (count_ < n) fill();
        count_ -= n;
        used_ += n;
    }
    uint32_t take(unsigned n) {
        const uint32_t value = peek(n);
        count_ -= n;
        used_ += n;
        return value;
    }
    // True once more bits were taken than the input held.
    bool exhausted() const { return used_ > held_ * 8; }

private:
    void fill() {
        while (count_ <= 56) {
            int c = ended_ ? -1 : in_->read();
            if (c < 0) {
                ended_ = true;
                c = 0;
            } else {
                ++held_;
            }
            accumulator_ = (accumulator_ << 8) | static_cast<uint32_t>(c);
            count_ += 8;
        }
    }

    stream::Input* in_;
    uint64_t accumulator_ = 0;
    unsigned count_ = 0;
    uint64_t used_ = 0;
    uint64_t held_ = 0;
    bool ended_ = false;
};

}  // namespace algorithm::arj
