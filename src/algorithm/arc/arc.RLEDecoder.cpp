#include "algorithm/arc/arc.RLEDecoder.h"

#include "stream/stream.Input.h"

namespace algorithm::arc {

void BoundedOutput::write(char value) {
    if (left_ == 0) throw Full();
    under_.write(value);
    --left_;
    ++count_;
}

void BoundedOutput::write(const char* buffer, uint32_t count) {
    const uint32_t taken = count > left_ ? static_cast<uint32_t>(left_) : count;
    under_.write(buffer, taken);
    left_ -= taken;
    count_ += taken;
    if (taken < count) throw Full();
}

void RunLengthOutput::write(char value) {
    if (!marked_) {
        if (static_cast<unsigned char>(value) == repeatMark) {
            marked_ = true;
        } else {
            last_ = value;
            under_.write(value);
        }
        return;
    }
    marked_ = false;
    const unsigned char count = static_cast<unsigned char>(value);
    if (count == 0)
        under_.write(static_cast<char>(repeatMark));
    else if (count > 1)
        under_.fill(count - 1u, last_);
}

uint64_t CountedDecoder::process(stream::Input& in, stream::Output& out, uint64_t count) {
    BoundedOutput bounded(out, count);
    try {
        decode(in, bounded);
    } catch (const BoundedOutput::Full&) {
    }
    out.flush();
    return bounded.tell();
}

void RLEDecoder::decode(stream::Input& in, stream::Output& out) {
    RunLengthOutput unpacked(out);
    char buffer[4096];
    while (const uint32_t n = in.read(buffer, sizeof buffer))
        for (uint32_t i = 0; i < n; ++i) unpacked.write(buffer[i]);
}

}  // namespace algorithm::arc
