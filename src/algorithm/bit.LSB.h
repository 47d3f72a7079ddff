#pragma once

#include <cstdint>
#include <cstring>

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
//
// By default each byte is read from the input as the bits are needed, so the
// input stands at most three bytes past the bits consumed. Given a buffer, the
// reader takes the input a block at a time instead, and a refill may take
// more bytes than it needs: much faster, for a caller that does not read on
// from the same input afterwards. The bits, the -1 of read and the end rules
// are the same either way; bytesRead() and bitsHeld() may run ahead, and
// 8 * bytesRead() - bitsHeld() is the same. The reader holds no resources of
// its own and may be copied, for instance into a hot loop's locals and back.
template <typename T>
class LSBPeekInput : public PeekInput<T> {
public:
    explicit LSBPeekInput(stream::Input& in) : in_(&in) {}
    // `buffer` of `size` bytes, not owned, holds input read ahead.
    LSBPeekInput(stream::Input& in, unsigned char* buffer, uint32_t size)
        : in_(&in), buffer_(buffer), size_(size) {}

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

    // Takes up to `count` whole bytes for a stored stretch, once aligned to a
    // byte: first the bytes held as bits, then the read-ahead, then the input.
    // Answers how many came; fewer than asked only at the end of the input.
    uint32_t readBytes(unsigned char* out, uint32_t count) {
        uint32_t done = 0;
        while (done < count && count_ >= 8) {
            out[done++] = static_cast<unsigned char>(accumulator_);
            drop(8);
        }
        if (count_ != 0) return done;  // not aligned: nothing more to give
        // Bits above the count are a copy of the next read-ahead byte, which is
        // taken from the read-ahead itself below.
        accumulator_ = 0;
        if (done < count && next_ != limit_) {
            uint32_t n = static_cast<uint32_t>(limit_ - next_);
            if (n > count - done) n = count - done;
            std::memcpy(out + done, next_, n);
            next_ += n;
            bytes_ += n;
            done += n;
        }
        while (done < count) {
            const uint32_t n = in_->read(reinterpret_cast<char*>(out + done), count - done);
            if (n == 0) break;
            bytes_ += n;
            done += n;
        }
        return done;
    }

    // Lends the read-ahead to a decoder's own loop, which may keep more bits
    // in a wider register than this reader does. The bytes from aheadBegin()
    // to aheadEnd() are the input that follows the heldCount() bits of
    // heldValue(). resume() takes the state back: `next` is the first byte
    // not taken, and the `count` bits of `value` (fewer than 32) come before it.
    const unsigned char* aheadBegin() const { return next_; }
    const unsigned char* aheadEnd() const { return limit_; }
    uint32_t heldValue() const { return count_ >= 32 ? accumulator_ : accumulator_ & mask(count_); }
    unsigned heldCount() const { return count_; }
    void resume(const unsigned char* next, uint32_t value, unsigned count) {
        bytes_ += static_cast<uint64_t>(next - next_);
        next_ = next;
        accumulator_ = value;
        count_ = count;
    }

    bool refill(unsigned n) {
        if (count_ >= n) return true;
        if (limit_ - next_ >= 4) {
            // With four bytes read ahead, take as many as fit at once. Bits
            // of the last byte may stand above the count; the byte is taken
            // next, so its bits go in again unchanged.
            const uint32_t word = uint32_t(next_[0]) | uint32_t(next_[1]) << 8 | uint32_t(next_[2]) << 16 |
                                  uint32_t(next_[3]) << 24;
            accumulator_ |= word << count_;
            const unsigned taken = (31 - count_) >> 3;
            next_ += taken;
            bytes_ += taken;
            count_ += 8 * taken;
            return true;
        }
        return refillBytes(n);
    }

private:
    bool refillBytes(unsigned n) {
        bool ok = true;
        while (count_ < n) {
            int c = next_ != limit_ ? *next_++ : fetch();
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
    // The next byte when the read-ahead is empty, or -1 at the end.
    // An input that has ended is not asked again: a file or a block of
    // memory stays ended, and a decoder that runs on into the zero padding
    // would otherwise cost a read of the input (a system call, for a file)
    // for every byte of it.
    int fetch() {
        if (ended_) return -1;
        if (buffer_ == nullptr) return in_->read();
        const uint32_t got = in_->read(reinterpret_cast<char*>(buffer_), size_);
        if (got == 0) return -1;
        next_ = buffer_ + 1;
        limit_ = buffer_ + got;
        return buffer_[0];
    }
    // n is below 32 here: fields are at most 24 bits, alignment at most 7.
    static uint32_t mask(unsigned n) { return (uint32_t(1) << n) - 1; }
    void drop(unsigned n) {
        accumulator_ >>= n;
        count_ -= n;
    }

    stream::Input* in_;
    unsigned char* buffer_ = nullptr;
    uint32_t size_ = 0;
    const unsigned char* next_ = nullptr;   // read-ahead not yet taken
    const unsigned char* limit_ = nullptr;
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
