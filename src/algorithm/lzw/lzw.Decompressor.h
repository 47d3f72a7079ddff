#pragma once

#include <cstdint>
#include <vector>

#include "stream/stream.Transform.h"

namespace algorithm::lzw {

// The three header bytes of Unix compress: 0x1F 0x9D, then the widest code
// (9 to 16 bits) with 0x80 for block mode, in which code 256 clears the table.
constexpr unsigned char magic0 = 0x1F;
constexpr unsigned char magic1 = 0x9D;
constexpr int blockModeFlag = 0x80;
constexpr int bitsMask = 0x1F;
constexpr int minBits = 9;
constexpr int maxBits = 16;
constexpr int clearCode = 256;

// Decodes a compress (.Z) file, header included, exactly as uncompress does:
// codes of 9 bits up to the header's widest, written in groups of eight, and
// a group left unfinished whenever the width grows or the table is cleared.
class Decompressor : public stream::Transform {
public:
    Decompressor() = default;
    // Codes alone, without the header: block mode, at most `widest` bits
    // (ARC's crunched and squashed data use the same code stream).
    explicit Decompressor(int widest);
    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

private:
    int widest_ = 0;
};

// Encodes as compress does, block mode always: the table is cleared when it
// is full and the ratio of the last stretch of input falls.
class Compressor : public stream::Transform {
public:
    explicit Compressor(int bits = maxBits);
    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

private:
    int bits_;
};

}  // namespace algorithm::lzw
