#include "algorithm/isp/isp.Decompressor.h"

#include <algorithm>
#include <cstring>

#include "algorithm/algorithm.Exception.h"

namespace algorithm::isp {

namespace {

constexpr int tableBits = 12;
constexpr uint32_t tableMask = (1u << tableBits) - 1;
constexpr uint8_t treeLength = 31;
constexpr uint16_t endSymbol = 320;
// Room behind the window for the last block of a copy.
constexpr uint32_t windowSlack = 16;

[[noreturn]] void inputEnds(const char* where) {
    throw Exception(std::string("input ends before the end of the stream in algorithm::isp::Decompressor::") + where);
}

// n bits of the input; the end of the input inside them is an error.
inline uint32_t need(bit::LSBPeekInput<uint32_t>& bits, unsigned n, const char* where) {
    uint32_t value = bits.read(n);
    if (value == 0xFFFFFFFFu) inputEnds(where);
    return value;
}

} // namespace

Decompressor::Decompressor()
    : window(new uint8_t[windowSize + windowSlack]()),
      readAhead(new unsigned char[readAheadSize]), lengths(new codewordLength[symbolCount]()), tree(new DecoderTree) {
    // The table of the 37 code values never changes, so it is built once.
    prefixTable.initialize(tableBits);
    for (uint16_t i = 0; i < 37; ++i) {
        const HuffmanCodeword& c = Data::prefix_tab_huff[i];
        populate_harray(prefixTable, c.code, static_cast<short>(c.length), i);
    }
    // The stream's own tables are made by process(), for each stream.
}

uint64_t Decompressor::process(stream::Input& in, stream::Output& out) {
    const uint64_t start = out.tell();
    literalTable.initialize(tableBits);
    pointerTable.initialize(tableBits);
    distanceTable.initialize(tableBits);

    BitInput bits(in, readAhead.get(), readAheadSize);
    const uint32_t distanceSymbols = need(bits, 3, "process()") + 10;
    const uint32_t same = need(bits, 1, "process()");
    const uint32_t preset = need(bits, 4, "process()");
    tree->initialize();

    if (preset == 0) {
        makeDehuff(bits, literalTable, symbolCount);
        if (same)
            pointerTable = literalTable;
        else
            makeDehuff(bits, pointerTable, symbolCount);
        makeDehuff(bits, distanceTable, static_cast<int>(distanceSymbols));
    } else {
        if (preset > static_cast<uint32_t>(Data::presetCount))
            throw Exception("unknown preset " + std::to_string(preset) +
                            " in algorithm::isp::Decompressor::process()");
        const Data::Preset& p = Data::preset_array[preset];
        presetDehuff(literalTable, symbolCount, p.lengths[0]);
        presetDehuff(pointerTable, symbolCount, p.lengths[1]);
        presetDehuff(distanceTable, p.distanceSymbols, p.lengths[2]);
    }

    loop(bits, out);
    out.flush();
    return out.tell() - start;
}

void Decompressor::makeDehuff(BitInput& bits, DecoderTable& table, int count) {
    const DecoderTableEntry* prefix = prefixTable.entries.data();
    codewordLength* work = lengths.get();
    int8_t previous = 0;
    int index = 0;
    while (index < count) {
        // The prefix code is complete, so every pattern finds its entry.
        const DecoderTableEntry e = prefix[bits.peek(tableBits)];
        bits.skip(e.length);
        const uint16_t value = e.value;
        if (value <= 33) {
            if (value <= 30)
                previous = static_cast<int8_t>(value + 1);
            else if (value == 31)
                previous = -1;
            else if (value == 32)
                previous = static_cast<int8_t>(previous + 1);
            else
                previous = static_cast<int8_t>(previous - 1);
            work[index++].length = previous;
        } else {
            uint32_t copies;
            if (value == 34)
                copies = need(bits, 1, "makeDehuff()") + 1;
            else if (value == 35)
                copies = need(bits, 3, "makeDehuff()") + 3;
            else
                copies = need(bits, 6, "makeDehuff()") + 11;
            if (index + copies > static_cast<uint32_t>(symbolCount))
                throw Exception("list of code lengths overruns its table in algorithm::isp::Decompressor::makeDehuff()");
            for (uint32_t i = 0; i < copies; ++i) work[index++].length = previous;
        }
        if (bits.pastEnd()) inputEnds("makeDehuff()");
    }
    for (int i = 0; i < count; ++i) work[i].symbol = static_cast<uint16_t>(i);
    lenarrayToDehuffTab(table, count, work);
}

void Decompressor::presetDehuff(DecoderTable& table, int count, const char* preset) {
    codewordLength* work = lengths.get();
    for (int i = 0; i < count; ++i) {
        work[i].length = static_cast<int8_t>(Data::presetLength(preset[i]));
        work[i].symbol = static_cast<uint16_t>(i);
    }
    lenarrayToDehuffTab(table, count, work);
}

void Decompressor::lenarrayToDehuffTab(DecoderTable& table, int count, codewordLength* array) {
    std::sort(array, array + count);
    // Canonical codes, most significant bit first in a 32-bit word. The shift
    // is taken modulo 32 as the processor does, so that lengths no encoder
    // sends (0, below -1, above 32) still give a defined code.
    uint32_t code = 0;
    uint32_t step = 0;
    int current = 0;
    for (int i = 0; i < count; ++i) {
        code += step;
        const int length = array[i].length;
        if (length != current) {
            current = length;
            step = length == -1 ? 0 : uint32_t(1) << ((32 - length) & 31);
        }
        if (current > 0) populate_harray(table, reverseBits(code), static_cast<short>(current), array[i].symbol);
    }
}

void Decompressor::populate_harray(DecoderTable& table, uint32_t code, short length, uint16_t symbol) {
    DecoderTableEntry* entries = table.entries.data();
    if (length <= tableBits) {
        const uint32_t step = uint32_t(1) << length;
        for (uint32_t i = 0; i < (1u << tableBits); i += step) {
            const uint32_t index = code + i;
            if (index > tableMask)
                throw Exception("code lengths do not form a code in algorithm::isp::Decompressor::populate_harray()");
            DecoderTableEntry& e = entries[index];
            if (e.length != 0) break;
            e.value = symbol;
            e.length = static_cast<uint8_t>(length);
        }
        return;
    }

    DecoderTree& t = *tree;
    auto take = [&t]() -> uint16_t {
        if (t.next >= DecoderTree::size)
            throw Exception("code tree needs more than 1796 nodes in algorithm::isp::Decompressor::populate_harray()");
        return static_cast<uint16_t>(t.next++);
    };
    DecoderTableEntry& e = entries[code & tableMask];
    uint16_t node;
    if (e.length == treeLength) {
        node = e.value;
    } else {
        node = take();
        e.length = treeLength;
        e.value = node;
    }
    uint32_t rest = code >> tableBits;
    for (int i = tableBits; i < length; ++i) {
        uint16_t& child = (rest & 1) ? t.nodes[node].one : t.nodes[node].zero;
        rest >>= 1;
        if (child == 0) child = take();
        node = child;
    }
    t.nodes[node].value = symbol;
}

void Decompressor::loop(BitInput& input, stream::Output& out) {
    // The loop works on a copy of the bit input that the compiler can keep
    // in registers: the window's byte stores could otherwise alias it.
    BitInput bits(input);
    uint8_t* const win = window.get();
    const DecoderTableEntry* const literals = literalTable.entries.data();
    const DecoderTableEntry* const pointers = pointerTable.entries.data();
    const DecoderTableEntry* const distances = distanceTable.entries.data();
    const DecoderTreeNode* const nodes = tree->nodes;
    const DecoderTableEntry* table = literals;
    uint32_t position = 0;

    // Codes of up to 12 bits take one look-up; longer ones go on in the
    // tree a bit at a time. A free entry (length 0) would take no bits and
    // never end, so it counts as a damaged stream.
    auto decode = [&](const DecoderTableEntry* t) __attribute__((always_inline)) -> uint32_t {
        const DecoderTableEntry e = t[bits.peek(tableBits)];
        if (e.length - 1u < unsigned(tableBits)) {
            bits.skip(e.length);
            return e.value;
        }
        if (e.length != treeLength) throw Exception("invalid code in algorithm::isp::Decompressor::loop()");
        bits.skip(tableBits);
        uint16_t node = e.value;
        while (nodes[node].value == 0xFFFF) {
            node = need(bits, 1, "loop()") ? nodes[node].one : nodes[node].zero;
            if (node == 0) throw Exception("invalid code in algorithm::isp::Decompressor::loop()");
        }
        return nodes[node].value;
    };

    for (;;) {
        const uint32_t symbol = decode(table);
        if (symbol < 256) {
            if (bits.pastEnd()) inputEnds("loop()");
            win[position++] = static_cast<uint8_t>(symbol);
            if (position == windowSize) {
                out.write(reinterpret_cast<const char*>(win), windowSize);
                position = 0;
            }
            table = literals;
            continue;
        }
        table = pointers;
        if (symbol == endSymbol) {
            if (bits.pastEnd()) inputEnds("loop()");
            break;
        }

        uint32_t length;
        if (symbol < 318)
            length = symbol - 253;
        else
            length = 65 + need(bits, symbol == 318 ? 10 : 15, "loop()");
        const uint32_t s = decode(distances);
        uint32_t distance = 1;
        if (s > 0) distance = ((uint32_t(1) << (s - 1)) | (s > 1 ? need(bits, s - 1, "loop()") : 0)) + 1;
        if (bits.pastEnd()) inputEnds("loop()");

        // The history wraps behind the end of the window.
        uint32_t source;
        if (distance <= position) {
            source = position - distance;
        } else {
            source = static_cast<uint16_t>(windowSize - (distance - position));
            if (source >= windowSize)
                throw Exception("distance beyond the window in algorithm::isp::Decompressor::loop()");
        }

        if (source < windowSize - length && position < windowSize - length) {
            // Neither end crosses the window's end. A forward copy repeats
            // the bytes where the source runs into the destination.
            uint8_t* d = win + position;
            const uint8_t* from = win + source;
            if (source > position || position - source >= 8) {
                // Eight bytes at a time: each block reads only bytes that
                // are final. The last block may run past the match into the
                // history of the previous turn, which is put back.
                uint64_t kept;
                std::memcpy(&kept, d + length, 8);
                uint32_t i = 0;
                do {
                    std::memcpy(d + i, from + i, 8);
                    i += 8;
                } while (i < length);
                std::memcpy(d + length, &kept, 8);
            } else if (position - source == 1) {
                std::memset(d, *from, length);
            } else {
                for (uint32_t i = 0; i < length; ++i) d[i] = from[i];
            }
            position += length;
        } else {
            for (uint32_t i = 0; i < length; ++i) {
                win[position++] = win[source++];
                if (position == windowSize) {
                    out.write(reinterpret_cast<const char*>(win), windowSize);
                    position = 0;
                }
                if (source >= windowSize) source = 0;
            }
        }
    }
    out.write(reinterpret_cast<const char*>(win), position);
    input = bits;
}

} // namespace algorithm::isp
