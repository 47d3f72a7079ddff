#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "algorithm/bit.LSB.h"
#include "algorithm/isp/isp.Data.h"
#include "stream/stream.Transform.h"

namespace algorithm::isp {

// An entry of a decoding table: a code of 1 to 12 bits with its symbol, or
// (length 31) the node of the tree where a longer code goes on. 0, 0 is free.
struct DecoderTableEntry {
    uint16_t value = 0;
    uint8_t length = 0;
};

// Decodes a code by the 12 bits that follow: one entry per bit pattern.
struct DecoderTable {
    std::vector<DecoderTableEntry> entries;
    int bits = 0;

    void initialize(int n) {
        bits = n;
        entries.assign(size_t(1) << n, DecoderTableEntry());
    }
};

// A node of the tree for codes longer than 12 bits. An inner node has the
// value 0xFFFF; a child of 0 is none.
struct DecoderTreeNode {
    uint16_t value = 0xFFFF;
    uint16_t zero = 0;
    uint16_t one = 0;
};

// Holds the rest of every code longer than 12 bits, for all tables of a
// stream at once. Node 0 is never handed out.
struct DecoderTree {
    static constexpr uint32_t size = 1796;

    uint32_t next = 1;
    DecoderTreeNode nodes[size];

    void initialize() {
        next = 1;
        for (uint32_t i = 1; i < size; ++i) nodes[i] = DecoderTreeNode();
    }
};

// Expands an ISP stream: LZ77 over a window of 64000 bytes, with the symbols
// in canonical Huffman codes whose tables travel in the stream or come from a
// built-in preset.
//
// A damaged stream ends in an algorithm::Exception: a preset or a table that
// cannot exist, a code that no table holds, a distance beyond the window, or
// input that ends before the end code. A complete stream decodes as it always
// has. The input is read a block at a time, so it may be read past the end
// code: give the stream a frame of its own (the archive readers do).
class Decompressor : public stream::Transform {
public:
    static constexpr uint32_t windowSize = 64000;
    static constexpr int symbolCount = 321;

    Decompressor();

    using stream::Transform::process;
    uint64_t process(stream::Input& in, stream::Output& out) override;

protected:
    using BitInput = bit::LSBPeekInput<uint32_t>;

    void makeDehuff(BitInput& bits, DecoderTable& table, int count);
    void presetDehuff(DecoderTable& table, int count, const char* lengths);
    void lenarrayToDehuffTab(DecoderTable& table, int count, codewordLength* array);
    void populate_harray(DecoderTable& table, uint32_t code, short length, uint16_t symbol);
    void loop(BitInput& bits, stream::Output& out);

private:
    std::unique_ptr<uint8_t[]> window;
    // The input is read a block at a time.
    static constexpr uint32_t readAheadSize = 16384;
    std::unique_ptr<unsigned char[]> readAhead;
    std::unique_ptr<codewordLength[]> lengths;
    DecoderTable prefixTable;
    DecoderTable literalTable;
    DecoderTable pointerTable;
    DecoderTable distanceTable;
    std::unique_ptr<DecoderTree> tree;
};

} // namespace algorithm::isp
