#include "algorithm/isp/isp.TextDetector.h"

namespace algorithm::isp {

bool TextDetector::text(const char* data, unsigned int size) {
    unsigned int from = 0;
    unsigned int to = size < 1024 ? size : 1024;
    if (size > 2048) from = to = 1024;
    unsigned int odd = 0;
    bool lineEnd = false;
    for (unsigned int i = from; i < to; ++i) {
        const unsigned char c = static_cast<unsigned char>(data[i]);
        if (c > 0x7F || (c >= 1 && c <= 7)) ++odd;
        if (c == 0x0D || c == 0x0A) lineEnd = true;
    }
    return odd * 8 < to - from && lineEnd;
}

} // namespace algorithm::isp
