#include "stream/stream.BufferedOutput.h"

#include <algorithm>
#include <cstring>

#include "stream/stream.Exception.h"

namespace stream {

namespace {
// The memory a buffer starts with, when its capacity is larger.
constexpr uint32_t firstStorage = 4096;
}  // namespace

BufferedOutput::BufferedOutput(Output& under, uint32_t capacity)
    : FilterOutput(under), capacity_(capacity), storage_(0), count_(0), total_(0) {
    if (capacity == 0) throw Exception("zero buffer size in stream::BufferedOutput");
    reserve(firstStorage);
    BufferedOutput::begin();
}

BufferedOutput::~BufferedOutput() {
    // A failing flush cannot be reported from a destructor; what was written
    // before stays on the underlying stream.
    try {
        flush();
    } catch (...) {
    }
}

void BufferedOutput::begin() {
    count_ = 0;
    total_ = under().tell();
}

void BufferedOutput::flushBuffer() {
    if (count_ != 0) {
        // Clear the count first, so that a failing write is not tried again by the destructor.
        uint32_t n = count_;
        count_ = 0;
        under().write(buffer_.get(), n);
    }
}

void BufferedOutput::reserve(uint32_t bytes) {
    const uint32_t wanted =
        static_cast<uint32_t>(std::min<uint64_t>(std::max<uint64_t>(bytes, uint64_t(storage_) * 2), capacity_));
    if (wanted <= storage_) return;
    std::unique_ptr<char[]> larger(new char[wanted]);
    if (count_ != 0) std::memcpy(larger.get(), buffer_.get(), count_);
    buffer_ = std::move(larger);
    storage_ = wanted;
}

void BufferedOutput::makeRoom() {
    if (storage_ < capacity_)
        reserve(storage_ + 1);
    else
        flushBuffer();
}

void BufferedOutput::write(const char* buffer, uint32_t n) {
    if (n < capacity_) {
        if (capacity_ - count_ < n) flushBuffer();
        if (storage_ - count_ < n) reserve(count_ + n);
        if (n != 0) std::memcpy(buffer_.get() + count_, buffer, n);
        count_ += n;
    } else {
        flushBuffer();
        under().write(buffer, n);
    }
    total_ += n;
}

// The same blocks as writing the bytes one by one, filled a run at a time.
void BufferedOutput::fill(uint64_t n, char value) {
    while (n != 0) {
        if (count_ == storage_) makeRoom();
        const uint32_t run = static_cast<uint32_t>(std::min<uint64_t>(n, storage_ - count_));
        std::memset(buffer_.get() + count_, value, run);
        count_ += run;
        total_ += run;
        n -= run;
    }
}

void BufferedOutput::flush() {
    flushBuffer();
    under().flush();
}

} // namespace stream
