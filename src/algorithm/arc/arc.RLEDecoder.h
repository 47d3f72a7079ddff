#pragma once

#include <cstdint>

#include "stream/stream.Output.h"
#include "stream/stream.Transform.h"

namespace algorithm::arc {

// The run-length marker of ARC's packing: "c 0x90 n" stands for n copies of
// c, and "0x90 0" for the marker byte itself.
constexpr unsigned char repeatMark = 0x90;

// Takes at most `limit` bytes and passes them on; a byte beyond them throws
// Full, which ends a decoder as soon as it has produced all it was asked for.
class BoundedOutput : public stream::Output {
public:
    struct Full {};
    BoundedOutput(stream::Output& under, uint64_t limit) : under_(under), left_(limit) {}
    using stream::Output::write;
    void write(char value) override;
    void write(const char* buffer, uint32_t count) override;
    uint64_t tell() const override { return count_; }

private:
    stream::Output& under_;
    uint64_t left_;
    uint64_t count_ = 0;
};

// Undoes the packing on the bytes written through it. A repeat with no byte
// before it repeats a zero; a literal marker is not a byte to repeat, so
// "c 0x90 0 0x90 n" repeats c.
class RunLengthOutput : public stream::Output {
public:
    explicit RunLengthOutput(stream::Output& under) : under_(under) {}
    using stream::Output::write;
    void write(char value) override;
    uint64_t tell() const override { return under_.tell(); }

private:
    stream::Output& under_;
    char last_ = 0;
    bool marked_ = false;
};

// The frame of ARC's counted decoders: each decodes its input up to the count
// it is given, and never writes more than that.
class CountedDecoder : public stream::Transform {
public:
    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out, uint64_t count) override;

protected:
    // Decodes `in` to its end into `out`; a full `out` ends it early.
    virtual void decode(stream::Input& in, stream::Output& out) = 0;
};

// Method 3, packed: run length alone.
class RLEDecoder : public CountedDecoder {
protected:
    void decode(stream::Input& in, stream::Output& out) override;
};

}  // namespace algorithm::arc
