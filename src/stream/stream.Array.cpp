#include "stream/stream.Array.h"

#include <algorithm>
#include <cstring>

#include "stream/stream.Exception.h"

namespace stream {

namespace {
constexpr uint64_t maximumArraySize = 0xFFFFFFFFu;
}

uint32_t ArrayInput::read(char* buffer, uint32_t count) {
    uint32_t n = std::min(count, size_ - position_);
    if (n != 0) std::memcpy(buffer, data_ + position_, n);
    position_ += n;
    return n;
}

uint64_t ArrayInput::skip(uint64_t count) {
    if (count > maximumArraySize) throw Exception("stream::ArrayInput::skip() cannot skip more than the maximum array size");
    uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(count, size_ - position_));
    position_ += n;
    return n;
}

uint64_t ArrayInput::copy(Output& to, uint64_t count) {
    uint32_t left = size_ - position_;
    if (count == all) count = left;
    if (count > maximumArraySize) throw Exception("stream::ArrayInput::copy() cannot copy more than the maximum array size");
    if (count > left) throw Exception("stream::ArrayInput::copy() cannot copy more data than the array contains");
    uint32_t n = static_cast<uint32_t>(count);
    to.write(data_ + position_, n);
    position_ += n;
    return n;
}

void ArrayOutput::write(char value) {
    if (position_ >= size_) throw Exception("stream::ArrayOutput cannot write past the end of a fixed-size buffer");
    data_[position_++] = value;
}

void ArrayOutput::write(const char* buffer, uint32_t count) {
    if (buffer == nullptr || count == 0) return;
    if (count > size_ - position_) throw Exception("stream::ArrayOutput cannot write past the end of a fixed-size buffer");
    std::memcpy(data_ + position_, buffer, count);
    position_ += count;
}

void ArrayOutput::resize(uint64_t size) {
    if (size != size_) throw Exception("stream::ArrayOutput::resize() cannot resize its buffer");
}

} // namespace stream
