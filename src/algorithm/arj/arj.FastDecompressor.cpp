#include "algorithm/arj/arj.FastDecompressor.h"

#include "algorithm/arj/arj.BitInput.h"
#include "algorithm/zip/zip.LegacyStreams.h"

namespace algorithm::arj {

namespace {

// A number in two parts: a run of up to (stop - start) one bits, ended by a
// zero unless the run is full, chooses the width; that many bits follow and
// are added to the sum of the powers of two that the run passed.
uint32_t readNumber(BitInput& bits, unsigned start, unsigned stop) {
    uint32_t plus = 0;
    uint32_t power = uint32_t(1) << start;
    unsigned width = start;
    for (; width < stop; ++width) {
        if (bits.take(1) == 0) break;
        plus += power;
        power <<= 1;
    }
    return (width != 0 ? bits.take(width) : 0) + plus;
}

}  // namespace

uint64_t FastDecompressor::process(stream::Input& in, stream::Output& out, uint64_t count) {
    BitInput bits(in);
    zip::LegacyWindow window(out, count);
    while (!window.full()) {
        const uint32_t length = readNumber(bits, 0, 7);
        if (length == 0) {
            const uint32_t c = bits.take(8);
            if (bits.exhausted()) break;
            window.put(static_cast<unsigned char>(c));
        } else {
            // The shortest match is 3 bytes; distances count from 1.
            const uint32_t distance = readNumber(bits, 9, 13) + 1;
            if (bits.exhausted()) break;
            window.copy(distance, length + 2);
        }
    }
    window.finish();
    return window.produced();
}

}  // namespace algorithm::arj
