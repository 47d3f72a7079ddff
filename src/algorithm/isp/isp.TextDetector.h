#pragma once

namespace algorithm::isp {

// Tells text from other data by the start of a small input: few bytes above
// 0x7F or in 1 to 7, and at least one line end. Only inputs of up to 2048
// bytes are looked at; every larger input reads as not text, which costs
// nothing, since the answer only matters below 1024 bytes.
class TextDetector {
public:
    static bool text(const char* data, unsigned int size);
};

} // namespace algorithm::isp
