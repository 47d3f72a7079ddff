#include "stream/stream.BufferedInput.h"

#include <algorithm>
#include <cstring>

#include "stream/stream.Exception.h"

namespace stream {

BufferedInput::BufferedInput(Input& under, uint32_t capacity)
    : FilterInput(under), capacity_(capacity), storage_(capacity), count_(0), position_(0), base_(0) {
    if (capacity == 0) throw Exception("zero buffer size in stream::BufferedInput");
    // A buffer one byte larger than the whole stream is never filled by it,
    // so a full one tells that the stream holds more than it said.
    const uint64_t size = under.size();
    if (size < capacity_) storage_ = static_cast<uint32_t>(size) + 1;
    buffer_.reset(new char[storage_]);
    BufferedInput::begin();
}

void BufferedInput::begin() {
    count_ = 0;
    position_ = 0;
    base_ = 0;
}

void BufferedInput::refill() {
    if (position_ < count_) std::memmove(buffer_.get(), buffer_.get() + position_, count_ - position_);
    count_ -= position_;
    base_ += position_;
    position_ = 0;
    count_ += under().read(buffer_.get() + count_, storage_ - count_);
    if (count_ == storage_ && storage_ < capacity_) {
        // More than the size the stream gave (an expanding filter gives that
        // of what it reads): from here on the whole capacity is read.
        std::unique_ptr<char[]> larger(new char[capacity_]);
        std::memcpy(larger.get(), buffer_.get(), count_);
        buffer_ = std::move(larger);
        storage_ = capacity_;
        count_ += under().read(buffer_.get() + count_, capacity_ - count_);
    }
}

uint32_t BufferedInput::read(char* buffer, uint32_t n) {
    uint32_t available = count_ - position_;
    if (available == 0 && n >= capacity_) return under().read(buffer, n);
    if (available < n) {
        refill();
        available = count_ - position_;
        if (available == 0) return 0;
    }
    uint32_t m = std::min(n, available);
    std::memcpy(buffer, buffer_.get() + position_, m);
    position_ += m;
    return m;
}

// The same as reading byte by byte and counting until -1, a buffer at a time.
uint64_t BufferedInput::skip(uint64_t n) {
    uint64_t done = 0;
    while (done < n) {
        if (position_ == count_) {
            refill();
            if (position_ == count_) break;
        }
        uint32_t step = static_cast<uint32_t>(std::min<uint64_t>(n - done, count_ - position_));
        position_ += step;
        done += step;
    }
    return done;
}

namespace random {

void BufferedInput::seek(uint64_t position) {
    buffered_.count_ = 0;
    buffered_.position_ = 0;
    buffered_.base_ = position;
    random::FilterInput::seek(position);
    buffered_.refill();
}

} // namespace random
} // namespace stream
