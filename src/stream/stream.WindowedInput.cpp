#include "stream/stream.WindowedInput.h"

#include <algorithm>
#include <cstring>

namespace stream::random {

// Where the underlying stream stands is not known at first: its tell() may
// count from elsewhere, so the first read seeks.
WindowedInput::WindowedInput(Input& under) : under_(under), size_(under.size()), underAt_(stream::all) {
    const uint64_t here = under.tell();
    for (Window& window : windows_) window.base = here;
}

// A read is met in full unless the stream ends, as a buffered input meets it:
// callers take a short count for the end.
uint32_t WindowedInput::read(char* buffer, uint32_t count) {
    uint32_t done = 0;
    while (done < count) {
        Window& window = now();
        if (at_ == window.count) {
            // What is left of a large read goes straight through.
            if (count - done >= capacity) {
                moveUnder(window.base + window.count);
                const uint32_t got = under_.read(buffer + done, count - done);
                underAt_ += got;
                window.base = underAt_;
                window.count = at_ = 0;
                if (got == 0) break;
                done += got;
                continue;
            }
            if (!refill()) break;
        }
        const uint32_t n = std::min(count - done, window.count - at_);
        std::memcpy(buffer + done, window.buffer.get() + at_, n);
        at_ += n;
        done += n;
    }
    return done;
}

uint64_t WindowedInput::skip(uint64_t count) {
    const uint64_t here = tell();
    const uint64_t step = here >= size_ ? 0 : std::min(count, size_ - here);
    seek(here + step);
    return step;
}

void WindowedInput::seek(uint64_t position) {
    for (int i : {current_, 1 - current_}) {
        const Window& window = windows_[i];
        if (position >= window.base && position - window.base <= window.count) {
            current_ = i;
            at_ = static_cast<uint32_t>(position - window.base);
            return;
        }
    }
    current_ = 1 - current_;
    now().base = position;
    now().count = at_ = 0;
}

void WindowedInput::moveUnder(uint64_t position) {
    if (underAt_ != position) under_.seek(position);
    underAt_ = position;
}

bool WindowedInput::refill() {
    Window& window = now();
    window.base += window.count;
    window.count = at_ = 0;
    moveUnder(window.base);
    // A window gets its memory when it is first filled, and no more than the
    // whole stream (plus one byte): a small archive costs little, and the
    // second window is often never used. A window that the stream fills
    // all the same holds more than its size said, and gets the capacity.
    if (!window.buffer) {
        window.storage = size_ < capacity ? static_cast<uint32_t>(size_) + 1 : capacity;
        window.buffer.reset(new char[window.storage]);
    }
    while (window.count < capacity) {
        if (window.count == window.storage) {
            std::unique_ptr<char[]> larger(new char[capacity]);
            std::memcpy(larger.get(), window.buffer.get(), window.count);
            window.buffer = std::move(larger);
            window.storage = capacity;
        }
        const uint32_t got = under_.read(window.buffer.get() + window.count, window.storage - window.count);
        if (got == 0) break;
        window.count += got;
    }
    underAt_ = window.base + window.count;
    return window.count != 0;
}

}  // namespace stream::random
