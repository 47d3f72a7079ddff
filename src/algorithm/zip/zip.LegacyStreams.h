#pragma once

#include <cstdint>
#include <vector>

#include "algorithm/bit.LSB.h"
#include "stream/stream.Output.h"

namespace algorithm::zip {

// The bit input of the legacy methods: fields least significant bit first,
// with a count of the bits taken, so that a decoder can tell when it has run
// past the end of its data (the bit input then supplies zero bits).
class LegacyBits {
public:
    explicit LegacyBits(stream::Input& in) : bits_(in) {}

    // n is at most 16.
    uint32_t peek(unsigned n) {
        return static_cast<uint32_t>(bits_.Bits::peek(n)) & ((1u << n) - 1);
    }
    void skip(unsigned n) {
        bits_.Bits::peek(n);
        bits_.Bits::skip(n);
        used_ += n;
    }
    uint32_t take(unsigned n) {
        const uint32_t value = peek(n);
        bits_.Bits::skip(n);
        used_ += n;
        return value;
    }
    // True once more bits were taken than the input held.
    bool exhausted() const { return used_ > bits_.bytesRead() * 8; }

private:
    using Bits = bit::LSBPeekInput<int32_t>;
    Bits bits_;
    uint64_t used_ = 0;
};

// History and output buffer in one, as in Inflate: 32768 bytes, zero at the
// start, written out whenever it fills. Bytes before the first one read as
// zero. It stops taking bytes once `limit` have been produced.
class LegacyWindow {
public:
    static constexpr unsigned size = 32768;

    LegacyWindow(stream::Output& out, uint64_t limit) : out_(&out), limit_(limit), window_(size, 0) {}

    bool full() const { return produced_ >= limit_; }
    uint64_t produced() const { return produced_; }

    void put(unsigned char c) {
        window_[position_++] = c;
        ++produced_;
        if (position_ == size) flush();
    }
    void put(const unsigned char* data, size_t n) {
        for (size_t i = 0; i < n && !full(); ++i) put(data[i]);
    }
    // Copies `length` bytes from `distance` back, byte by byte so that an
    // overlapping copy repeats its pattern; stops at the limit.
    void copy(unsigned distance, unsigned length) {
        unsigned from = (position_ - distance) & (size - 1);
        while (length-- != 0 && !full()) {
            put(window_[from]);
            from = (from + 1) & (size - 1);
        }
    }
    void finish() {
        flush();
        out_->flush();
    }

private:
    void flush() {
        if (position_ != 0) out_->write(reinterpret_cast<const char*>(window_.data()), position_);
        position_ = 0;
    }

    stream::Output* out_;
    uint64_t limit_;
    uint64_t produced_ = 0;
    unsigned position_ = 0;
    std::vector<unsigned char> window_;
};

} // namespace algorithm::zip
