#pragma once

#include <cstdint>

namespace stream {
class Input;
class Output;
} // namespace stream

namespace un {

// A record that reads and writes itself on byte streams. `strict` asks read()
// to throw on bad data rather than carry on; size() is what write() produces.
class structure {
public:
    virtual ~structure() = default;
    virtual bool valid() const = 0;
    virtual void read(stream::Input& in, bool strict) = 0;
    virtual void write(stream::Output& out) const = 0;
    virtual uint32_t size() const = 0;
};

} // namespace un
