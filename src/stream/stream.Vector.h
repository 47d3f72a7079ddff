#pragma once

#include <vector>

#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace stream {

// Reads the current contents of a vector, which it does not own.
class VectorInput : public Input {
public:
    explicit VectorInput(const std::vector<char>& vector) : vector_(vector), position_(0) {}

    using Input::read;
    int read() override {
        return position_ < vector_.size() ? static_cast<unsigned char>(vector_[position_++]) : -1;
    }
    uint32_t read(char* buffer, uint32_t count) override;
    uint64_t skip(uint64_t count) override;
    uint64_t copy(Output& to, uint64_t count) override;
    uint64_t tell() const override { return position_; }
    uint64_t size() const override { return vector_.size(); }

private:
    uint32_t left() const { return static_cast<uint32_t>(vector_.size()) - position_; }

    const std::vector<char>& vector_;
    uint32_t position_;
};

// Writes into a vector, which it does not own: bytes inside the vector are
// overwritten, bytes past its end are appended.
class VectorOutput : public virtual Output {
public:
    explicit VectorOutput(std::vector<char>& vector) : vector_(vector), position_(0) {}

    using Output::write;
    void write(char value) override;
    void write(const char* buffer, uint32_t count) override;
    uint64_t copy(Input& from, uint64_t count) override;
    uint64_t tell() const override { return position_; }
    uint64_t size() const override { return vector_.size(); }
    void resize(uint64_t size) override;

protected:
    std::vector<char>& vector_;
    uint32_t position_;
};

namespace random {

class VectorOutput : public stream::VectorOutput, public random::Output {
public:
    explicit VectorOutput(std::vector<char>& vector) : stream::VectorOutput(vector) {}

    void begin() override {}
    void end() override {}
    void write(char value) override { stream::VectorOutput::write(value); }
    void write(const char* buffer, uint32_t count) override { stream::VectorOutput::write(buffer, count); }
    uint64_t copy(stream::Input& from, uint64_t count) override { return stream::VectorOutput::copy(from, count); }
    uint64_t tell() const override { return stream::VectorOutput::tell(); }
    void seek(uint64_t position) override;
    uint64_t size() const override { return stream::VectorOutput::size(); }
    void resize(uint64_t size) override { stream::VectorOutput::resize(size); }
};

} // namespace random
} // namespace stream
