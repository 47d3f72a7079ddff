#include "algorithm/arj/arj.GoodDecompressor.h"

#include "algorithm/algorithm.Exception.h"
#include "algorithm/arj/arj.BitInput.h"
#include "algorithm/arj/arj.Huffman.h"
#include "algorithm/zip/zip.LegacyStreams.h"

namespace algorithm::arj {

namespace {

// Literals 0 to 255, then the match lengths from 3 to 256.
constexpr unsigned charSymbols = 256 + 256 - 2;
constexpr unsigned charBits = 9;
// Distances of 0, 1, and of 2^(n-1) to 2^n - 1 for n up to 16.
constexpr unsigned positionSymbols = 17;
constexpr unsigned positionBits = 5;
// The code of the literal and length code's lengths: three ways of saying
// "none" and the lengths 1 to 16.
constexpr unsigned lengthSymbols = 19;
constexpr unsigned lengthBits = 5;
constexpr unsigned shortestMatch = 3;

[[noreturn]] void fail(const char* message) { throw Exception(message, "algorithm"); }

class Decoder {
public:
    Decoder(stream::Input& in, stream::Output& out, uint64_t count) : bits_(in), window_(out, count) {}

    uint64_t run() {
        uint32_t left = 0;
        while (!window_.full()) {
            if (left == 0) {
                left = bits_.take(16);
                if (bits_.exhausted()) break;
                if (left == 0) fail("bad block in arj::GoodDecompressor");
                readSmall(lengthCode_, lengthSymbols, lengthBits, 3);
                readChars();
                readSmall(positions_, positionSymbols, positionBits, -1);
                if (bits_.exhausted()) break;
            }
            --left;
            const unsigned c = chars_.decode(bits_);
            if (c < 256) {
                if (bits_.exhausted()) break;
                window_.put(static_cast<unsigned char>(c));
                continue;
            }
            uint32_t distance = positions_.decode(bits_);
            if (distance != 0) distance = (uint32_t(1) << (distance - 1)) + bits_.take(distance - 1);
            if (bits_.exhausted()) break;
            window_.copy(distance + 1, c - 256 + shortestMatch);
        }
        window_.finish();
        return window_.produced();
    }

private:
    // The lengths of a small code: a count, then per symbol 3 bits, where 7
    // goes on with a one bit for each length more and a zero. After the
    // symbol `special` come 2 bits of symbols more that are unused. A count
    // of zero gives one symbol that takes no bits.
    void readSmall(Huffman& code, unsigned symbols, unsigned width, int special) {
        const uint32_t n = bits_.take(width);
        if (n == 0) {
            const uint32_t only = bits_.take(width);
            if (only >= symbols) fail("bad table in arj::GoodDecompressor");
            code.single(only);
            return;
        }
        if (n > symbols) fail("bad table in arj::GoodDecompressor");
        uint8_t lengths[lengthSymbols] = {};
        unsigned i = 0;
        while (i < n) {
            uint32_t length = bits_.take(3);
            if (length == 7) {
                while (bits_.take(1) != 0)
                    if (++length > Huffman::maxBits) fail("bad table in arj::GoodDecompressor");
            }
            lengths[i++] = static_cast<uint8_t>(length);
            if (static_cast<int>(i) == special) {
                for (uint32_t zeros = bits_.take(2); zeros != 0 && i < symbols; --zeros) lengths[i++] = 0;
            }
        }
        if (!code.build(lengths, symbols)) fail("bad table in arj::GoodDecompressor");
    }

    // The lengths of the literal and length code, coded by the length code:
    // 0 is one unused symbol, 1 is 3 to 18 of them, 2 is 20 to 531, and n
    // above 2 is the length n - 2.
    void readChars() {
        const uint32_t n = bits_.take(charBits);
        if (n == 0) {
            const uint32_t only = bits_.take(charBits);
            if (only >= charSymbols) fail("bad table in arj::GoodDecompressor");
            chars_.single(only);
            return;
        }
        if (n > charSymbols) fail("bad table in arj::GoodDecompressor");
        uint8_t lengths[charSymbols] = {};
        unsigned i = 0;
        while (i < n) {
            const unsigned c = lengthCode_.decode(bits_);
            if (c > 2) {
                lengths[i++] = static_cast<uint8_t>(c - 2);
                continue;
            }
            const uint32_t zeros = c == 0 ? 1 : c == 1 ? bits_.take(4) + 3 : bits_.take(charBits) + 20;
            if (zeros > charSymbols - i) fail("bad table in arj::GoodDecompressor");
            i += zeros;
        }
        if (!chars_.build(lengths, charSymbols)) fail("bad table in arj::GoodDecompressor");
    }

    BitInput bits_;
    zip::LegacyWindow window_;
    Huffman lengthCode_{8};
    Huffman chars_{12};
    Huffman positions_{8};
};

}  // namespace

uint64_t GoodDecompressor::process(stream::Input& in, stream::Output& out, uint64_t count) {
    if (count == 0) return 0;
    Decoder decoder(in, out, count);
    return decoder.run();
}

}  // namespace algorithm::arj
