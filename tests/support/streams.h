#pragma once

// Small streams for tests: a source that counts the calls made on it and may
// answer block reads short, a sink that records what reaches it and how, and
// one that only counts; and the data to feed them.

#include <random>
#include <stdexcept>
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

// Counts what reaches it and keeps nothing. A run that writes more than
// `limit` bytes is stopped: no stream under test could hold that much.
class BoundedOutput : public stream::Output {
public:
    explicit BoundedOutput(uint64_t limit = uint64_t(64) << 20) : limit_(limit) {}
    using stream::Output::write;
    void write(char) override { add(1); }
    void write(const char*, uint32_t count) override { add(count); }
    uint64_t tell() const override { return count_; }

private:
    void add(uint64_t n) {
        count_ += n;
        if (count_ > limit_) throw std::runtime_error("unbounded output");
    }
    uint64_t limit_;
    uint64_t count_ = 0;
};

// Bytes that do not compress.
inline std::string noise(size_t size, uint32_t seed) {
    std::mt19937 random(seed);
    std::string s(size, '\0');
    for (char& c : s) c = static_cast<char>(random());
    return s;
}

// Bytes like text: letters, blanks and line ends, not quite repeating.
inline std::string words(size_t size, uint32_t seed) {
    static const char text[] = "the quick brown fox jumps over a lazy dog\n";
    std::mt19937 random(seed);
    std::string s(size, '\0');
    for (size_t i = 0; i < size; ++i) s[i] = text[(i + random() % 3) % (sizeof text - 1)];
    return s;
}

inline std::string pattern(size_t size) {
    std::string s(size, 0);
    for (size_t i = 0; i < size; ++i) s[i] = static_cast<char>((i * 7 + i / 251) & 0xFF);
    return s;
}

} // namespace test
