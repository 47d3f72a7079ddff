#pragma once

#include <cstdint>

#include "algorithm/bit.Stream.h"

namespace algorithm::isp {

// One entry of a list of code lengths: the length (-1 for an unused symbol)
// and its symbol. Sorting by length, then symbol, gives the canonical order:
// unused entries first, then the shortest codes.
struct codewordLength {
    int8_t length;
    uint16_t symbol;

    bool operator<(const codewordLength& other) const {
        return length != other.length ? length < other.length : symbol < other.symbol;
    }
};

// A code as it is written: the first bit of the code in bit 0.
struct HuffmanCodeword {
    uint32_t code;
    int length;

    void write(bit::Output<uint32_t>& bits) const { bits.write(code, static_cast<unsigned>(length)); }
};

// The 32 bits of `value` in reverse order.
uint32_t reverseBits(uint32_t value);

// The built-in tables of the stream format.
struct Data {
    // A preset: the code lengths after a literal, after a match and of the
    // distances, one character per symbol ('0' to '9', then 'a' = 10 to
    // 'i' = 18), with the number of distance symbols and the largest input it
    // was made for.
    struct Preset {
        const char* lengths[3];
        int distanceSymbols;
        uint32_t largestSize;
    };

    // Codes of the 37 values that lists of code lengths are written in.
    static const HuffmanCodeword prefix_tab_huff[37];
    // Index 0 is empty and stands for "no preset".
    static const Preset preset_array[6];
    static constexpr int presetCount = 5;

    // The length that a character of a preset stands for.
    static int presetLength(char c) { return c <= '9' ? c - '0' : c - 'a' + 10; }
};

} // namespace algorithm::isp
