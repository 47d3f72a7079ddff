#include "algorithm/arc/arc.CrunchDecompressor.h"

#include <string>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/lzw/lzw.Decompressor.h"
#include "stream/stream.Input.h"

namespace algorithm::arc {

void CrunchDecompressor::decode(stream::Input& in, stream::Output& out) {
    const int bits = in.read();
    if (bits < 0) return;
    if (bits != 12) throw Exception("crunched with " + std::to_string(bits) + " bits, can only handle 12 bits");
    RunLengthOutput unpacked(out);
    lzw::Decompressor(12).process(in, unpacked);
}

void SquashDecompressor::decode(stream::Input& in, stream::Output& out) { lzw::Decompressor(13).process(in, out); }

}  // namespace algorithm::arc
