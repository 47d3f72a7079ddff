#pragma once

#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace stream {

// Reads a fixed array in memory, which it does not own.
class ArrayInput : public Input {
public:
    ArrayInput(const char* data, uint32_t size) : data_(data), size_(size), position_(0) {}

    using Input::read;
    int read() override {
        return position_ < size_ ? static_cast<unsigned char>(data_[position_++]) : -1;
    }
    uint32_t read(char* buffer, uint32_t count) override;
    uint64_t skip(uint64_t count) override;
    uint64_t copy(Output& to, uint64_t count) override;
    uint64_t tell() const override { return position_; }
    uint64_t size() const override { return size_; }

private:
    const char* data_;
    uint32_t size_;
    uint32_t position_;
};

// Writes into a fixed array in memory, which it does not own. A write that
// does not fit stores nothing of that request and throws.
class ArrayOutput : public Output {
public:
    ArrayOutput(char* data, uint32_t size) : data_(data), size_(size), position_(0) {}

    using Output::write;
    void write(char value) override;
    void write(const char* buffer, uint32_t count) override;
    uint64_t tell() const override { return position_; }
    uint64_t size() const override { return size_; }
    void resize(uint64_t size) override;

private:
    char* data_;
    uint32_t size_;
    uint32_t position_;
};

} // namespace stream
