#pragma once

#include <cstdint>
#include <string>

#include "stream/stream.Output.h"

namespace algorithm {

// A running check value: begin() returns to the seed, update() feeds bytes,
// end() finishes (nothing in the base).
template <typename T>
class Digest {
public:
    explicit Digest(const T& seed) : seed_(seed), value_(seed) {}
    virtual ~Digest() = default;

    virtual void begin() { value_ = seed_; }
    virtual void update(char byte) = 0;
    virtual void update(const char* data, uint32_t size) {
        for (uint32_t i = 0; i < size; ++i) update(data[i]);
    }
    virtual void end() {}

    const T& value() const { return value_; }
    const T& seed() const { return seed_; }

protected:
    T seed_;
    T value_;
};

// An output that feeds every byte written to it into a digest, which it does not own.
template <typename T>
class DigestOutput : public stream::Output {
public:
    explicit DigestOutput(Digest<T>& digest) : digest_(&digest), count_(0) {}

    void write(char value) override {
        digest_->update(value);
        ++count_;
    }
    void write(const char* buffer, uint32_t count) override {
        if (buffer == nullptr || count == 0) return;
        digest_->update(buffer, count);
        count_ += count;
    }
    uint64_t tell() const override { return count_; }

private:
    Digest<T>* digest_;
    uint64_t count_;
};

} // namespace algorithm
