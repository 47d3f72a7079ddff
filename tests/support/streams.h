#pragma once

// Small streams for tests: a source that counts the calls made on it and may
// answer block reads short, and a sink that records what reaches it and how.

#include <string>
#include <vector>

#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace test {

class CountingInput : public stream::Input {
public:
    explicit CountingInput(std::string data, bool knownSize = true) : data_(std::move(data)), knownSize_(knownSize) {}

    using stream::Input::read;
    int read() override {
        ++byteReads;
        return position_ < data_.size() ? static_cast<unsigned char>(data_[position_++]) : -1;
    }
    uint32_t read(char* buffer, uint32_t count) override {
        ++blockReads;
        lastBlockRequest = count;
        uint32_t n = 0;
        while (n < count && position_ < data_.size()) buffer[n++] = data_[position_++];
        return n;
    }
    uint64_t tell() const override { return position_; }
    uint64_t size() const override { return knownSize_ ? data_.size() : stream::all; }

    int byteReads = 0;
    int blockReads = 0;
    uint32_t lastBlockRequest = 0;

private:
    std::string data_;
    bool knownSize_;
    size_t position_ = 0;
};

class RecordingOutput : public stream::Output {
public:
    using stream::Output::write;
    void write(char value) override {
        data.push_back(value);
        ++byteWrites;
    }
    void write(const char* buffer, uint32_t count) override {
        data.append(buffer, count);
        blockWrites.push_back(count);
    }
    uint64_t tell() const override { return data.size(); }
    void flush() override { ++flushes; }

    std::string data;
    int byteWrites = 0;
    std::vector<uint32_t> blockWrites;
    int flushes = 0;
};

inline std::string pattern(size_t size) {
    std::string s(size, 0);
    for (size_t i = 0; i < size; ++i) s[i] = static_cast<char>((i * 7 + i / 251) & 0xFF);
    return s;
}

} // namespace test
