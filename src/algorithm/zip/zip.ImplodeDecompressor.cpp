#include "algorithm/zip/zip.ImplodeDecompressor.h"

#include "algorithm/algorithm.Exception.h"
#include "algorithm/zip/zip.LegacyStreams.h"
#include "algorithm/zip/zip.huft.h"

namespace algorithm::zip {

namespace {

[[noreturn]] void fail(const char* message) { throw Exception(message, "algorithm"); }

// Reads one tree: a count of bytes less one, then bytes that each give a run
// of (high nibble + 1) codes of (low nibble + 1) bits.
void readTree(LegacyBits& bits, int* lengths, int count) {
    int bytes = static_cast<int>(bits.take(8)) + 1;
    int k = 0;
    while (bytes-- != 0) {
        const unsigned b = bits.take(8);
        const int length = static_cast<int>(b & 0x0F) + 1;
        int run = static_cast<int>(b >> 4) + 1;
        if (k + run > count) fail("bad tree in ImplodeDecompressor");
        while (run-- != 0) lengths[k++] = length;
    }
    if (k != count || bits.exhausted()) fail("bad tree in ImplodeDecompressor");
}

// Shannon-Fano codes are the complements of the canonical codes that
// huft_build assigns to the same lengths, so the bits are inverted before
// each look-up.
unsigned decode(LegacyBits& bits, const huft* table, int width, unsigned* extra) {
    const huft* t = table + (~bits.peek(static_cast<unsigned>(width)) & ((1u << width) - 1));
    unsigned e = t->e;
    while (e > 16) {
        if (e == 99) fail("bad code in ImplodeDecompressor");
        bits.skip(t->b);
        e -= 16;
        t = t->v.t + (~bits.peek(e) & ((1u << e) - 1));
        e = t->e;
    }
    if (e == 99) fail("bad code in ImplodeDecompressor");
    bits.skip(t->b);
    if (extra != nullptr) *extra = e;
    return t->v.n;
}

} // namespace

uint64_t ImplodeDecompressor::process(stream::Input& in, stream::Output& out) { return process(in, out, stream::all); }

uint64_t ImplodeDecompressor::process(stream::Input& in, stream::Output& out, uint64_t count) {
    LegacyBits bits(in);
    LegacyWindow window(out, count);
    if (count == 0) return 0;

    // Match lengths: the shortest match plus the code, and the last code
    // takes 8 more bits. Distances: the code gives the high bits.
    const int minimum = threeTrees_ ? 3 : 2;
    int lengthBases[64];
    int lengthExtras[64];
    int distanceBases[64];
    int distanceExtras[64];
    const unsigned lowBits = largeWindow_ ? 7 : 6;
    for (int i = 0; i < 64; ++i) {
        lengthBases[i] = minimum + i;
        lengthExtras[i] = i == 63 ? 8 : 0;
        distanceBases[i] = (i << lowBits) + 1;
        distanceExtras[i] = 0;
    }

    int lengths[256];
    HuftHolder literals;
    HuftHolder matchLengths;
    HuftHolder distances;
    if (threeTrees_) {
        readTree(bits, lengths, 256);
        literals.bits = 9;
        huft_build(lengths, 256, 256, nullptr, nullptr, &literals.table, &literals.bits);
    }
    readTree(bits, lengths, 64);
    matchLengths.bits = 7;
    huft_build(lengths, 64, 0, lengthBases, lengthExtras, &matchLengths.table, &matchLengths.bits);
    readTree(bits, lengths, 64);
    distances.bits = 7;
    huft_build(lengths, 64, 0, distanceBases, distanceExtras, &distances.table, &distances.bits);
    if ((threeTrees_ && literals.table == nullptr) || matchLengths.table == nullptr || distances.table == nullptr)
        fail("bad tree in ImplodeDecompressor");

    while (!window.full()) {
        if (bits.take(1) != 0) {
            const unsigned c = threeTrees_ ? decode(bits, literals.table, literals.bits, nullptr) : bits.take(8);
            if (bits.exhausted()) break;
            window.put(static_cast<unsigned char>(c));
        } else {
            const unsigned low = bits.take(lowBits);
            const unsigned distance = decode(bits, distances.table, distances.bits, nullptr) + low;
            unsigned extra = 0;
            unsigned length = decode(bits, matchLengths.table, matchLengths.bits, &extra);
            if (extra != 0) length += bits.take(extra);
            if (bits.exhausted()) break;
            window.copy(distance, length);
        }
    }
    window.finish();
    return window.produced();
}

} // namespace algorithm::zip
