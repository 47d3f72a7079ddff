#pragma once

#include <cstdint>
#include <string>

#include "stream/stream.Input.h"
#include "stream/stream.Output.h"

namespace format::zip {

// Reads the string of a record: at most `length` bytes, fewer if the input ends.
inline std::string readString(stream::Input& in, uint32_t length) {
    std::string text(length, '\0');
    uint32_t done = 0;
    while (done < length) {
        const uint32_t n = in.read(text.data() + done, length - done);
        if (n == 0) break;
        done += n;
    }
    text.resize(done);
    return text;
}

inline void writeString(stream::Output& out, const std::string& text) {
    if (!text.empty()) out.write(text.data(), static_cast<uint32_t>(text.size()));
}

} // namespace format::zip
