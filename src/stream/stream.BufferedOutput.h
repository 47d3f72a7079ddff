#pragma once

#include <memory>

#include "stream/stream.FilterOutput.h"

namespace stream {

// Collects bytes in a buffer of `capacity` bytes and writes them in blocks.
// tell() is an absolute position in the underlying stream. copy() is passed to
// the underlying stream as it stands, by the buffer and without flushing it.
// The memory grows with what waits, up to the capacity, so that a small output
// costs a small buffer; the blocks written are the same.
class BufferedOutput : public FilterOutput {
public:
    BufferedOutput(Output& under, uint32_t capacity);
    ~BufferedOutput() override;

    using FilterOutput::under;

    void begin() override;
    void write(char value) override {
        if (count_ == storage_) makeRoom();
        buffer_[count_++] = value;
        ++total_;
    }
    void write(const char* buffer, uint32_t n) override;
    void fill(uint64_t n, char value) override;
    uint64_t tell() const override { return total_; }
    void flush() override;

protected:
    void flushBuffer();

private:
    // Room for one more byte in a full buffer: more memory below the
    // capacity, a block written out at it.
    void makeRoom();
    // Memory for at least `bytes` (at most the capacity), the waiting bytes kept.
    void reserve(uint32_t bytes);

    std::unique_ptr<char[]> buffer_;
    uint32_t capacity_;
    // The bytes allocated, at most the capacity.
    uint32_t storage_;
    uint32_t count_;
    uint64_t total_;
};

namespace random {

// The buffered output over a random-access stream. A seek flushes what waits
// and moves the underlying stream; tell() is not changed by it.
class BufferedOutput : public random::FilterOutput {
public:
    BufferedOutput(random::Output& under, uint32_t capacity) : random::FilterOutput(under), buffered_(under, capacity) {}

    void begin() override { buffered_.begin(); }
    void end() override { buffered_.end(); }
    void seek(uint64_t position) override {
        buffered_.flush();
        random::FilterOutput::seek(position);
    }
    void write(char value) override { buffered_.write(value); }
    void write(const char* buffer, uint32_t count) override { buffered_.write(buffer, count); }
    void fill(uint64_t count, char value) override { buffered_.fill(count, value); }
    uint64_t copy(stream::Input& from, uint64_t count) override { return buffered_.copy(from, count); }
    uint64_t tell() const override { return buffered_.tell(); }
    void flush() override { buffered_.flush(); }

private:
    stream::BufferedOutput buffered_;
};

} // namespace random
} // namespace stream
