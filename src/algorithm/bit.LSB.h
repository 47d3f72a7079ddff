#pragma once

#include <cstdint>

#include "algorithm/bit.Stream.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace algorithm::bit {

// Bits taken from each byte least significant first; a field's first bit is
// its least significant (ISP, Deflate). A 32-bit accumulator holds the valid
// bits. refill(n) appends bytes above the valid bits until n are valid; at the
// end of the input it appends a zero byte instead, counts it as bits, and
// reports false. The byte counter counts real bytes only. So peek(n) always
// answers (zero bits past the end), skip(n) drops bits only if the refill
// succeeded, and read(n) answers -1 and drops nothing if it did not.
// n is at most 24, so that a refill never needs more than 32 bits.
// pastEnd() tells a decoder that it has taken some of those zero bits, which
// no complete stream makes it do.
template <typename T>
class LSBPeekInput : public PeekInput<T> {
public:
    explicit LSBPeekInput(stream::Input& in) : in_(&in) {}

    T read() final { return read(1); }
    T read(unsigned n) final {
        if (!refill(n)) return static_cast<T>(-1);
        T value = static_cast<T>(accumulator_ & mask(n));
        drop(n);
        return value;
    }
    T peek(unsigned n) final {
        refill(n);
        return static_cast<T>(accumulator_ & mask(n));
    }
    void skip(unsigned n) final {
        if (refill(n)) drop(n);
    }

    // Drops the bits up to the next byte boundary.
    void align() { drop(count_ & 7); }

    // Real bytes taken from the input so far, and bits now held.
    uint64_t bytesRead() const { return bytes_; }
    unsigned bitsHeld() const { return count_; }
    // True once a refill has met the end of the input.
    bool atEnd() const { return ended_; }
    // True once bits of the zero padding past the end have been dropped.
    bool pastEnd() const { return count_ < padding_; }

    bool refill(unsigned n) {
        bool ok = true;
        while (count_ < n) {
            int c = in_->read();
            if (c == -1) {
                ended_ = true;
                ok = false;
                c = 0;
                // Bits held never exceed 31, so 32 padding bits already
                // prove an overrun; the cap keeps the count from wrapping.
                if (padding_ < 64) padding_ += 8;
            } else {
                ++bytes_;
            }
            accumulator_ |= static_cast<uint32_t>(c) << count_;
            count_ += 8;
        }
        return ok;
    }

private:
    static uint32_t mask(unsigned n) { return n >= 32 ? 0xFFFFFFFFu : (uint32_t(1) << n) - 1; }
    void drop(unsigned n) {
        accumulator_ = n >= 32 ? 0 : accumulator_ >> n;
        count_ -= n;
    }

    stream::Input* in_;
    uint32_t accumulator_ = 0;
    unsigned count_ = 0;
    uint64_t bytes_ = 0;
    unsigned padding_ = 0;  // zero bits appended past the end, up to 64
    bool ended_ = false;
};

// Writes fields least significant bit first. write(value, n) drains whole
// bytes when fewer than n bits fit in the 32-bit accumulator, then ors the
// value in above the bits held. After a drain up to 7 bits stay held, so a
// field wider than 24 bits goes in two halves. flush() sends what is left,
// low byte first, and flushes the output.
template <typename T>
class LSBOutput : public Output<T> {
public:
    explicit LSBOutput(stream::Output& out) : out_(&out) {}

    void write(T bit) final { write(bit, 1); }
    void write(T value, unsigned n) final {
        uint32_t v = static_cast<uint32_t>(value);
        if (n > 24) {
            put(v & 0xFFFFu, 16);
            v >>= 16;
            n -= 16;
        }
        put(v, n);
    }
    void flush() final {
        drain();
        if (count_ != 0) {
            out_->write(static_cast<char>(accumulator_));
            ++bytes_;
            accumulator_ = 0;
            count_ = 0;
        }
        out_->flush();
    }
    uint64_t bytesWritten() const { return bytes_; }

private:
    void put(uint32_t value, unsigned n) {
        if (32 - count_ < n) drain();
        accumulator_ |= (value & ((uint32_t(1) << n) - 1)) << count_;
        count_ += n;
    }
    void drain() {
        while (count_ >= 8) {
            out_->write(static_cast<char>(accumulator_));
            ++bytes_;
            accumulator_ >>= 8;
            count_ -= 8;
        }
    }

    stream::Output* out_;
    uint32_t accumulator_ = 0;
    unsigned count_ = 0;
    uint64_t bytes_ = 0;
};

} // namespace algorithm::bit
