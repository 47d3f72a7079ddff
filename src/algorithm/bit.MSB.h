#pragma once

#include <cstdint>

#include "algorithm/bit.Stream.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace algorithm::bit {

// Bits taken from each byte most significant first (Arsenic). A 64-bit
// accumulator holds the valid bits in its low end; a refill appends whole
// bytes below them. The byte counter advances on every fetch, also on the one
// that meets the end of the input. At the end read() and read(n) answer -1 and
// take no bits. n is at most 32.
template <typename T>
class MSBInput final : public Input<T> {
public:
    explicit MSBInput(stream::Input& in) : in_(&in) {}

    T read() override {
        if (count_ == 0 && !refill(1)) return static_cast<T>(-1);
        --count_;
        return static_cast<T>((accumulator_ >> count_) & 1);
    }
    T read(unsigned n) override {
        if (count_ < n && !refill(n)) return static_cast<T>(-1);
        count_ -= n;
        return static_cast<T>((accumulator_ >> count_) & (n >= 32 ? 0xFFFFFFFFu : (uint32_t(1) << n) - 1));
    }

    // Bytes fetched from the input, the failed fetch at the end included.
    uint64_t bytesRead() const { return bytes_; }
    unsigned bitsHeld() const { return count_; }
    bool atEnd() const { return ended_; }
    // Fetches that met the end of the input.
    uint64_t misses() const { return misses_; }

private:
    bool refill(unsigned n) {
        while (count_ < n) {
            int c = in_->read();
            ++bytes_;
            if (c == -1) {
                ended_ = true;
                ++misses_;
                return false;
            }
            accumulator_ = (accumulator_ << 8) | static_cast<uint32_t>(c);
            count_ += 8;
        }
        return true;
    }

    stream::Input* in_;
    uint64_t accumulator_ = 0;
    unsigned count_ = 0;
    uint64_t bytes_ = 0;
    uint64_t misses_ = 0;
    bool ended_ = false;
};

// Writes bits most significant first. A 32-bit accumulator holds the bits from
// bit 31 down; write(bit) drains whole bytes from the top once more than 30
// bits are held. write(value, n) writes the n low bits of value, the highest
// first. flush() sends the partial last byte with its low bits 0 and flushes
// the output.
template <typename T>
class MSBOutput final : public Output<T> {
public:
    explicit MSBOutput(stream::Output& out) : out_(&out) {}

    void write(T bit) override {
        if (count_ > 30) drain();
        accumulator_ |= (static_cast<uint32_t>(bit) & 1) << (31 - count_);
        ++count_;
    }
    void write(T value, unsigned n) override {
        for (unsigned i = n; i > 0; --i) write(static_cast<T>((static_cast<uint32_t>(value) >> (i - 1)) & 1));
    }
    void flush() override {
        drain();
        if (count_ != 0) {
            out_->write(static_cast<char>(accumulator_ >> 24));
            ++bytes_;
            accumulator_ = 0;
            count_ = 0;
        }
        out_->flush();
    }
    uint64_t bytesWritten() const { return bytes_; }

private:
    void drain() {
        while (count_ >= 8) {
            out_->write(static_cast<char>(accumulator_ >> 24));
            ++bytes_;
            accumulator_ <<= 8;
            count_ -= 8;
        }
    }

    stream::Output* out_;
    uint32_t accumulator_ = 0;
    unsigned count_ = 0;
    uint64_t bytes_ = 0;
};

} // namespace algorithm::bit
