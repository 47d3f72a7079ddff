#include "algorithm/zip/zip.ShrinkDecompressor.h"

#include <vector>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/zip/zip.LegacyStreams.h"

namespace algorithm::zip {

namespace {

constexpr unsigned control = 256;
constexpr unsigned firstCode = 257;
constexpr unsigned codes = 8192;
constexpr unsigned maxBits = 13;

[[noreturn]] void fail() { throw Exception("bad code in ShrinkDecompressor", "algorithm"); }

} // namespace

uint64_t ShrinkDecompressor::process(stream::Input& in, stream::Output& out) { return process(in, out, stream::all); }

uint64_t ShrinkDecompressor::process(stream::Input& in, stream::Output& out, uint64_t count) {
    LegacyBits bits(in);
    LegacyWindow window(out, count);
    if (count == 0) return 0;

    std::vector<uint16_t> parent(codes, 0);
    std::vector<unsigned char> value(codes, 0);
    std::vector<bool> used(codes, false);
    std::vector<bool> hasChild(codes, false);
    std::vector<unsigned char> stack(codes);
    unsigned codeSize = 9;
    unsigned nextFree = firstCode; // no code below it is free

    auto lowestFree = [&] {
        while (nextFree < codes && used[nextFree]) ++nextFree;
        return nextFree;
    };

    const unsigned first = bits.take(codeSize);
    if (bits.exhausted()) {
        window.finish();
        return 0;
    }
    if (first >= control) fail();
    window.put(static_cast<unsigned char>(first));
    unsigned previous = first;
    unsigned char firstByte = static_cast<unsigned char>(first);

    while (!window.full()) {
        const unsigned code = bits.take(codeSize);
        if (bits.exhausted()) break;
        if (code == control) {
            const unsigned what = bits.take(codeSize);
            if (bits.exhausted()) break;
            if (what == 1) {
                if (++codeSize > maxBits) fail();
            } else if (what == 2) {
                // Free the leaves: entries in use that no entry in use names
                // as its prefix.
                std::fill(hasChild.begin(), hasChild.end(), false);
                for (unsigned c = firstCode; c < codes; ++c)
                    if (used[c]) hasChild[parent[c]] = true;
                for (unsigned c = firstCode; c < codes; ++c)
                    if (!hasChild[c]) used[c] = false;
                nextFree = firstCode;
            } else {
                fail();
            }
            continue;
        }

        // Spell the code's string backwards onto the stack.
        size_t top = stack.size();
        unsigned c = code;
        if (c > control && !used[c]) {
            // The code being defined by this very step: the previous string
            // and its own first byte.
            if (c != lowestFree()) fail();
            stack[--top] = firstByte;
            c = previous;
        }
        while (c > control) {
            if (top == 0) fail();
            stack[--top] = value[c];
            c = parent[c];
        }
        if (top == 0 || c == control) fail();
        stack[--top] = static_cast<unsigned char>(c);
        firstByte = static_cast<unsigned char>(c);
        window.put(stack.data() + top, stack.size() - top);

        const unsigned slot = lowestFree();
        if (slot < codes) {
            parent[slot] = static_cast<uint16_t>(previous);
            value[slot] = firstByte;
            used[slot] = true;
        }
        previous = code;
    }
    window.finish();
    return window.produced();
}

} // namespace algorithm::zip
