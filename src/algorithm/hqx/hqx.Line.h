#pragma once

#include <cstdint>

namespace algorithm::hqx {

// Lines of BinHex 4.0 text: a colon opens the data, every line but the last
// holds 64 characters of the 64-character alphabet, and a colon closes it.
class Line {
public:
    // The value of a character of the alphabet, or -1.
    static int value(unsigned char c);

    // The text starts a BinHex data block: a colon, then characters of the
    // alphabet up to a full line of 64 ended by CR or LF, or fewer of them
    // closed by the final colon; blanks may follow a full line before its
    // end. `length` is what is there to look at; a line
    // that runs out before it ends is not accepted.
    static bool isFirstBinHexLine(const char* text, uint32_t length);

    static constexpr uint32_t lineLength = 64;
    static constexpr char alphabet[] = "!\"#$%&'()*+,-012345689@ABCDEFGHIJKLMNPQRSTUVXYZ[`abcdefhijklmpqr";
};

}  // namespace algorithm::hqx
