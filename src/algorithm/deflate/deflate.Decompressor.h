#pragma once

#include <cstdint>

#include "algorithm/bit.LSB.h"
#include "algorithm/zip/zip.huft.h"
#include "stream/stream.Transform.h"

namespace algorithm::deflate {

// Decodes raw Deflate (RFC 1951) with no frame and no check of its own. The
// 32768-byte window is both the history and the output buffer: it is written
// out whole each time it fills. One object serves stream after stream; the
// window is not cleared between them. The input is read ahead in blocks, so
// it may be consumed past the end of the Deflate data.
class Decompressor : public stream::Transform {
public:
    enum BlockType { stored = 0, fixed = 1, dynamic = 2 };

    static constexpr unsigned windowSize = 32768;

    Decompressor();
    ~Decompressor() override;
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;

    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;
    // The bytes of input that the last stream took, up to its final bit: a
    // frame that follows starts there, whatever the read-ahead took.
    uint64_t consumedBytes() const { return (consumed_ + 7) / 8; }

    // Returns the window to the zeros of a new decoder, so that one object
    // can serve stream after stream as fresh ones would, also where damaged
    // data reaches before its first byte. Only what earlier streams may have
    // written is cleared, which for a small stream is a few hundred bytes.
    void clearHistory();

    // The order of the code-length codes, the length and distance bases and
    // extra bits (two invalid length symbols and two invalid distance symbols
    // at the end), and the masks 2^n - 1.
    static const int border[19];
    static const int cplens[31];
    static const int cplext[31];
    static const int cpdist[32];
    static const int cpdext[32];
    static const uint16_t mask[17];
    static constexpr int lbits = 9;
    static constexpr int dbits = 6;

protected:
    using Bits = bit::LSBPeekInput<int32_t>;

    bool inflateBlock(Bits& bits, stream::Output& out);
    void inflateStored(Bits& bits, stream::Output& out);
    void inflateFixed(Bits& bits, stream::Output& out);
    void inflateDynamic(Bits& bits, stream::Output& out);
    void inflateCodes(Bits& bits, stream::Output& out, const zip::huft* literalTable, const zip::huft* distanceTable,
                      int literalBits, int distanceBits);

private:
    struct FixedTables;

    // The fast loop runs while the read-ahead holds at least fastInput bytes
    // and the window has fastRoom bytes left: two literals, a longest match,
    // and the 8 bytes that a word copy may write past its end.
    static constexpr unsigned fastInput = 16;
    static constexpr unsigned fastRoom = 2 + 258 + 8;

    bool inflateFast(Bits& bits, const zip::huft* literalTable, const zip::huft* distanceTable, unsigned literalBits,
                     unsigned distanceBits, unsigned& position, uint64_t& used);
    uint32_t take(Bits& bits, unsigned n);
    void checkInput(const Bits& bits) const;

    unsigned char window_[windowSize];
    uint16_t position_ = 0;
    uint32_t spoiled_ = 0; // window bytes from the start that may not be zero
    uint64_t consumed_ = 0; // bits taken from the bit input in this stream
    // The bit input reads the compressed data a block at a time, so it may
    // take bytes past the end of the stream: the caller limits the input to
    // the stream (as the Zip reader does) when it reads on afterwards.
    unsigned char readAhead_[16384];
};

} // namespace algorithm::deflate
