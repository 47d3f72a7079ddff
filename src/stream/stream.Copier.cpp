#include "stream/stream.Copier.h"

#include <algorithm>

namespace stream {

char* Copier::buffer() {
    if (!buffer_) buffer_.reset(new char[bufferSize_]);
    return buffer_.get();
}

uint64_t Copier::process(Input& in, Output& out) {
    char* data = buffer();
    uint64_t total = 0;
    uint32_t n = in.read(data, bufferSize_);
    while (n != 0) {
        out.write(data, n);
        total += n;
        n = in.read(data, bufferSize_);
    }
    out.flush();
    return total;
}

uint64_t Copier::process(Input& in, Output& out, uint64_t count) {
    if (count == all) return process(in, out);
    char* data = buffer();
    uint64_t total = 0;
    uint32_t n;
    do {
        n = in.read(data, static_cast<uint32_t>(std::min<uint64_t>(count, bufferSize_)));
        if (n != 0) out.write(data, n);
        total += n;
        count -= n;
    } while (n == bufferSize_ && count != 0);
    out.flush();
    return total;
}

} // namespace stream
