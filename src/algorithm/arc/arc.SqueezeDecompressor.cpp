#include "algorithm/arc/arc.SqueezeDecompressor.h"

#include <array>

#include "algorithm/algorithm.Exception.h"
#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace algorithm::arc {

namespace {

// 256 byte values and the end mark: a tree of them has at most 256 nodes.
constexpr int values = 257;
constexpr int endMark = 256;

int readWord(stream::Input& in) {
    const int low = in.read();
    const int high = in.read();
    if (low < 0 || high < 0) throw Exception("squeezed data is truncated");
    return static_cast<int16_t>(static_cast<uint16_t>(low | high << 8));
}

}  // namespace

uint64_t SqueezeDecompressor::process(stream::Input& in, stream::Output& out) {
    const int nodes = readWord(in);
    if (nodes < 0 || nodes >= values) throw Exception("squeezed data has an invalid decoding tree");
    // A child below zero is a leaf holding -(value + 1); an empty tree holds
    // the end mark alone.
    std::array<std::array<int16_t, 2>, values> tree;
    tree[0] = {int16_t(-(endMark + 1)), int16_t(-(endMark + 1))};
    for (int i = 0; i < nodes; ++i)
        for (int side = 0; side < 2; ++side) {
            const int child = readWord(in);
            if (child >= nodes || child < -(endMark + 1)) throw Exception("squeezed data has an invalid decoding tree");
            tree[i][side] = static_cast<int16_t>(child);
        }

    uint64_t written = 0;
    int bits = 0;
    int held = 0;
    for (;;) {
        int node = 0;
        do {
            if (held == 0) {
                bits = in.read();
                // Data may end without the end mark; what was whole stands.
                if (bits < 0) return written;
                held = 8;
            }
            node = tree[node][bits & 1];
            bits >>= 1;
            --held;
        } while (node >= 0);
        const int value = -(node + 1);
        if (value == endMark) return written;
        out.write(static_cast<char>(value));
        ++written;
    }
}

}  // namespace algorithm::arc
