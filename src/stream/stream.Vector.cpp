#include "stream/stream.Vector.h"

#include <algorithm>
#include <cstring>

#include "stream/stream.Exception.h"

namespace stream {

namespace {
constexpr uint64_t maximumVectorSize = 0xFFFFFFFFu;
}

uint32_t VectorInput::read(char* buffer, uint32_t count) {
    uint32_t n = std::min(count, left());
    if (n != 0) std::memcpy(buffer, vector_.data() + position_, n);
    position_ += n;
    return n;
}

uint64_t VectorInput::skip(uint64_t count) {
    if (count > maximumVectorSize) throw Exception("stream::VectorInput::skip() cannot skip more than the maximum vector size");
    uint32_t n = static_cast<uint32_t>(std::min<uint64_t>(count, left()));
    position_ += n;
    return n;
}

uint64_t VectorInput::copy(Output& to, uint64_t count) {
    if (count == all) count = left();
    if (count > maximumVectorSize) throw Exception("stream::VectorInput::copy() cannot copy more than the maximum vector size");
    if (count > left()) throw Exception("stream::VectorInput::copy() cannot copy more data than the vector contains");
    uint32_t n = static_cast<uint32_t>(count);
    if (n != 0) to.write(vector_.data() + position_, n);
    position_ += n;
    return n;
}

void VectorOutput::write(char value) {
    if (position_ < vector_.size())
        vector_[position_] = value;
    else
        vector_.push_back(value);
    ++position_;
}

void VectorOutput::write(const char* buffer, uint32_t count) {
    if (buffer == nullptr || count == 0) return;
    if (uint64_t(position_) + count > maximumVectorSize)
        throw Exception("stream::VectorOutput cannot grow past the maximum vector size");
    if (position_ + count > vector_.size()) vector_.resize(position_ + count);
    std::memcpy(vector_.data() + position_, buffer, count);
    position_ += count;
}

// Lets the input fill the vector with one block read. The vector keeps only
// what came, so a short input leaves no stale bytes behind.
uint64_t VectorOutput::copy(Input& from, uint64_t count) {
    if (count == all) count = from.size();
    if (count == 0) return 0;
    if (count > maximumVectorSize - position_)
        throw Exception("stream::VectorOutput::copy() cannot copy more than the maximum vector size");
    uint32_t n = static_cast<uint32_t>(count);
    uint64_t oldSize = vector_.size();
    if (position_ + n > oldSize) vector_.resize(position_ + n);
    uint32_t got = from.read(vector_.data() + position_, n);
    if (position_ + got > oldSize) vector_.resize(position_ + got);
    else if (vector_.size() != oldSize) vector_.resize(oldSize);
    position_ += got;
    return got;
}

void VectorOutput::resize(uint64_t size) {
    if (size < vector_.size()) throw Exception("stream::VectorOutput::resize() cannot truncate its stream");
    if (size > maximumVectorSize) throw Exception("stream::VectorOutput cannot grow past the maximum vector size");
    vector_.resize(size);
}

namespace random {

void VectorOutput::seek(uint64_t position) {
    if (position > vector_.size()) throw Exception("stream::random::VectorOutput cannot seek past the end of the vector");
    position_ = static_cast<uint32_t>(position);
}

} // namespace random
} // namespace stream
