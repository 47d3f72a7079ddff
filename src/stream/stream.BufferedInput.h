#pragma once

#include <memory>

#include "stream/stream.FilterInput.h"

namespace stream {

namespace random {
class BufferedInput;
}

// Reads the underlying stream in blocks of `capacity` bytes. tell() counts from
// the last begin(), not from the underlying stream's position; a block read of
// at least `capacity` bytes on an empty buffer goes straight to the underlying
// stream and leaves tell() where it was. The memory held is no more than the
// underlying stream's size (plus one byte) when that is smaller than the
// capacity; a stream that brings more than its size says gets the capacity.
class BufferedInput : public FilterInput {
public:
    BufferedInput(Input& under, uint32_t capacity);
    ~BufferedInput() override = default;

    using FilterInput::under;

    void begin() override;
    void end() override { FilterInput::end(); }
    int read() override {
        if (position_ == count_) {
            refill();
            if (position_ == count_) return -1;
        }
        return static_cast<unsigned char>(buffer_[position_++]);
    }
    uint32_t read(char* buffer, uint32_t n) override;
    uint64_t skip(uint64_t n) override;
    uint64_t copy(Output& to, uint64_t count) override { return Input::copy(to, count); }
    uint64_t tell() const override { return base_ + position_; }
    uint64_t size() const override { return FilterInput::size(); }
    void close() override { FilterInput::close(); }

protected:
    void refill();

private:
    friend class random::BufferedInput;

    std::unique_ptr<char[]> buffer_;
    uint32_t capacity_;
    // The bytes allocated, at most the capacity.
    uint32_t storage_;
    uint32_t count_;
    uint32_t position_;
    uint64_t base_;
};

namespace random {

// The buffered input over a random-access stream. A seek always drops the
// buffer, even when the target lies inside it, and reads anew at once.
class BufferedInput : public random::FilterInput {
public:
    BufferedInput(random::Input& under, uint32_t capacity) : random::FilterInput(under), buffered_(under, capacity) {}

    void begin() override { buffered_.begin(); }
    void end() override { buffered_.end(); }
    int read() override { return buffered_.read(); }
    uint32_t read(char* buffer, uint32_t count) override { return buffered_.read(buffer, count); }
    uint64_t skip(uint64_t count) override { return buffered_.skip(count); }
    uint64_t copy(stream::Output& to, uint64_t count) override { return buffered_.copy(to, count); }
    void seek(uint64_t position) override;
    uint64_t tell() const override { return buffered_.tell(); }
    uint64_t size() const override { return random::FilterInput::size(); }

private:
    stream::BufferedInput buffered_;
};

} // namespace random
} // namespace stream
