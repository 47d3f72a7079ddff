#pragma once

#include <cstdint>

#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace stream {

// A converter that pumps an input into an output: every compressor,
// decompressor and encoder. A class implements the form of process() that
// its format needs; the other throws. It answers the bytes written to `out`
// and never closes either stream.
class Transform {
public:
    virtual ~Transform() = default;
    virtual void begin() {}
    virtual void end() {}
    // Consumes `in` to its end or to the format's own end mark.
    virtual uint64_t process(Input& in, Output& out);
    // Produces exactly `count` bytes, or fewer only if the data ends first.
    virtual uint64_t process(Input& in, Output& out, uint64_t count);
};

} // namespace stream
