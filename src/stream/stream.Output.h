#pragma once

#include <cstdint>

namespace stream {

class Input;

// An abstract sink of bytes.
class Output {
public:
    virtual ~Output() = default;
    virtual void begin() {}
    virtual void end() {}
    virtual void write(char value) = 0;
    virtual void write(const char* buffer, uint32_t count);
    virtual void fill(uint64_t count, char value);
    virtual uint64_t copy(Input& from, uint64_t count);
    virtual uint64_t tell() const = 0;
    virtual uint64_t size() const { return tell(); }
    virtual void resize(uint64_t size);
    virtual void flush() {}
    virtual void close() {}
};

namespace random {

class Output : public virtual stream::Output {
public:
    void begin() override {}
    void end() override {}
    virtual void seek(uint64_t position) = 0;
    uint64_t size() const override = 0;
    void resize(uint64_t size) override = 0;
};

} // namespace random
} // namespace stream
