#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace format::zip {

// Reads the string of a record: at most `length` bytes, fewer if the input ends.
// The string grows with what arrives, a block at a time, so that a length
// field of a damaged record costs no more than the bytes that are there.
inline std::string readString(stream::Input& in, uint32_t length) {
    std::string text;
    char block[4096];
    while (text.size() < length) {
        const uint32_t want = static_cast<uint32_t>(std::min<size_t>(sizeof block, length - text.size()));
        const uint32_t n = in.read(block, want);
        if (n == 0) break;
        text.append(block, n);
    }
    return text;
}

inline void writeString(stream::Output& out, const std::string& text) {
    if (!text.empty()) out.write(text.data(), static_cast<uint32_t>(text.size()));
}

} // namespace format::zip
