#include "stream/stream.LimitedInput.h"

#include <algorithm>

#include "stream/stream.Exception.h"

namespace stream {

int LimitedInput::read() {
    if (count_ >= limit_) return -1;
    int c = FilterInput::read();
    if (c != -1) ++count_;
    return c;
}

uint32_t LimitedInput::read(char* buffer, uint32_t count) {
    uint32_t ask = static_cast<uint32_t>(std::min<uint64_t>(count, limit_ - count_));
    if (ask == 0) return 0;
    uint32_t n = FilterInput::read(buffer, ask);
    count_ += n;
    return n;
}

// Skipping respects the limit too, so the underlying stream never moves past it.
uint64_t LimitedInput::skip(uint64_t count) {
    uint64_t ask = std::min<uint64_t>(count, limit_ - count_);
    if (ask == 0) return 0;
    uint64_t n = FilterInput::skip(ask);
    count_ += n;
    return n;
}

int SafeInput::read() {
    int c = FilterInput::read();
    if (c == -1) throw Exception("unexpected end of file in stream::SafeInput::read()");
    return c;
}

// A buffered stream may answer short before its end, so ask again until the
// request is met or the stream answers nothing.
uint32_t SafeInput::read(char* buffer, uint32_t count) {
    uint32_t done = 0;
    while (done < count) {
        uint32_t n = FilterInput::read(buffer + done, count - done);
        if (n == 0) break;
        done += n;
    }
    if (done < count) throw Exception("unexpected end of file in stream::SafeInput::read()");
    return done;
}

uint64_t SafeInput::skip(uint64_t count) {
    uint64_t n = FilterInput::skip(count);
    if (n < count) throw Exception("unexpected end of file in stream::SafeInput::skip()");
    return n;
}

uint64_t SafeInput::copy(Output& to, uint64_t count) {
    uint64_t n = FilterInput::copy(to, count);
    if (count != all && n < count) throw Exception("unexpected end of file in stream::SafeInput::copy()");
    return n;
}

} // namespace stream
