#pragma once

#include "stream/stream.FilterInput.h"

namespace stream {

// Lets a decoder see no more than `limit` bytes of the underlying stream, which
// may go on beyond them. tell() and size() are the underlying stream's.
class LimitedInput : public FilterInput {
public:
    LimitedInput(Input& under, uint64_t limit) : FilterInput(under), limit_(limit), count_(0) {}

    using FilterInput::under;
    int read() override;
    uint32_t read(char* buffer, uint32_t count) override;
    uint64_t skip(uint64_t count) override;
    uint64_t copy(Output& to, uint64_t count) override { return Input::copy(to, count); }

    // Bytes delivered so far, and bytes still allowed.
    uint64_t count() const { return count_; }
    uint64_t remaining() const { return limit_ - count_; }

private:
    uint64_t limit_;
    uint64_t count_;
};

// Turns the end of the underlying stream into an exception, for readers that
// must not run short.
class SafeInput : public FilterInput {
public:
    explicit SafeInput(Input& under) : FilterInput(under) {}

    int read() override;
    uint32_t read(char* buffer, uint32_t count) override;
    uint64_t skip(uint64_t count) override;
    uint64_t copy(Output& to, uint64_t count) override;
};

} // namespace stream
