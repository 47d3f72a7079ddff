#include "stream/stream.BufferedOutput.h"

#include <cstring>

#include "stream/stream.Exception.h"

namespace stream {

BufferedOutput::BufferedOutput(Output& under, uint32_t capacity)
    : FilterOutput(under), capacity_(capacity), count_(0), total_(0) {
    if (capacity == 0) throw Exception("zero buffer size in stream::BufferedOutput");
    buffer_.reset(new char[capacity]);
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

void BufferedOutput::write(const char* buffer, uint32_t n) {
    if (n < capacity_) {
        if (capacity_ - count_ < n) flushBuffer();
        if (n != 0) std::memcpy(buffer_.get() + count_, buffer, n);
        count_ += n;
    } else {
        flushBuffer();
        under().write(buffer, n);
    }
    total_ += n;
}

void BufferedOutput::flush() {
    flushBuffer();
    under().flush();
}

} // namespace stream
