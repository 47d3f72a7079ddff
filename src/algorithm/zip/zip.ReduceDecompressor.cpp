#include "algorithm/zip/zip.ReduceDecompressor.h"

#include "algorithm/algorithm.Exception.h"
#include "algorithm/zip/zip.LegacyStreams.h"

namespace algorithm::zip {

namespace {

constexpr unsigned char marker = 144; // DLE

// Bits of a follower index for a set of n bytes (n from 1 to 32).
unsigned indexBits(unsigned n) {
    unsigned bits = 1;
    while ((1u << bits) < n) ++bits;
    return bits;
}

} // namespace

ReduceDecompressor::ReduceDecompressor(int factor) : factor_(factor) {
    if (factor < 1 || factor > 4) throw Exception("bad compression factor in ReduceDecompressor", "algorithm");
}

uint64_t ReduceDecompressor::process(stream::Input& in, stream::Output& out) { return process(in, out, stream::all); }

uint64_t ReduceDecompressor::process(stream::Input& in, stream::Output& out, uint64_t count) {
    LegacyBits bits(in);
    LegacyWindow window(out, count);
    if (count == 0) return 0;

    // Follower sets, stored for the bytes 255 down to 0.
    unsigned char followers[256][32];
    unsigned setSize[256];
    unsigned setBits[256];
    for (int x = 255; x >= 0; --x) {
        const unsigned n = bits.take(6);
        if (n > 32) throw Exception("bad follower set in ReduceDecompressor", "algorithm");
        setSize[x] = n;
        setBits[x] = n == 0 ? 0 : indexBits(n);
        for (unsigned i = 0; i < n; ++i) followers[x][i] = static_cast<unsigned char>(bits.take(8));
    }
    if (bits.exhausted()) {
        window.finish();
        return 0;
    }

    const unsigned lengthMask = 0xFFu >> factor_;
    const unsigned distanceShift = 8u - static_cast<unsigned>(factor_);
    unsigned last = 0;
    int state = 0;
    unsigned v = 0;
    unsigned length = 0;

    while (!window.full()) {
        unsigned c;
        if (setSize[last] == 0 || bits.take(1) == 1) {
            c = bits.take(8);
        } else {
            const unsigned i = bits.take(setBits[last]);
            if (i >= setSize[last]) throw Exception("bad follower index in ReduceDecompressor", "algorithm");
            c = followers[last][i];
        }
        if (bits.exhausted()) break;
        last = c;

        switch (state) {
        case 0:
            if (c == marker) state = 1;
            else window.put(static_cast<unsigned char>(c));
            break;
        case 1:
            if (c == 0) {
                window.put(marker);
                state = 0;
            } else {
                v = c;
                length = c & lengthMask;
                state = length == lengthMask ? 2 : 3;
            }
            break;
        case 2:
            length += c;
            state = 3;
            break;
        default: {
            const unsigned distance = ((v >> distanceShift) << 8) + c + 1;
            window.copy(distance, length + 3);
            state = 0;
            break;
        }
        }
    }
    window.finish();
    return window.produced();
}

} // namespace algorithm::zip
