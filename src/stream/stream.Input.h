#pragma once

#include <cstdint>

namespace stream {

// A count of all ones: "all of it" as a length, "unknown" as a size.
constexpr uint64_t all = ~uint64_t(0);

class Output;

// An abstract source of bytes. read() answers -1 at the end; a block read
// answers a short count, and only 0 means the end.
class Input {
public:
    virtual ~Input() = default;
    virtual void begin() {}
    virtual void end() {}
    virtual int read() = 0;
    virtual uint32_t read(char* buffer, uint32_t count);
    virtual uint64_t skip(uint64_t count);
    virtual uint64_t copy(Output& to, uint64_t count);
    virtual uint64_t tell() const = 0;
    virtual uint64_t size() const { return all; }
    virtual void close() {}
};

namespace random {

class Input : public virtual stream::Input {
public:
    void begin() override {}
    void end() override {}
    virtual void seek(uint64_t position) = 0;
    uint64_t size() const override = 0;
};

} // namespace random
} // namespace stream
