#include "stream/stream.LineReader.h"

namespace stream {

int LineReader::get() {
    if (pending_ != -2) {
        const int c = pending_;
        pending_ = -2;
        return c;
    }
    if (at_ == filled_) {
        filled_ = in_.read(buffer_, sizeof buffer_);
        at_ = 0;
        if (filled_ == 0) return -1;
    }
    return static_cast<unsigned char>(buffer_[at_++]);
}

bool LineReader::next(std::string& line) {
    line.clear();
    cut_ = false;
    lineStart_ = offset_;
    int c = get();
    if (c < 0) return false;
    for (;;) {
        if (c == '\n' || c == '\r') break;
        ++offset_;
        if (line.size() < limit_)
            line += static_cast<char>(c);
        else
            cut_ = true;
        // The rest of the line as far as the buffer holds it, in one piece.
        uint32_t end = at_;
        while (end < filled_ && buffer_[end] != '\n' && buffer_[end] != '\r') ++end;
        const uint32_t run = end - at_;
        const size_t room = line.size() < limit_ ? limit_ - line.size() : 0;
        line.append(buffer_ + at_, run < room ? run : room);
        if (run > room) cut_ = true;
        offset_ += run;
        at_ = end;
        c = get();
        if (c < 0) break;
    }
    if (c == '\r') {
        ++offset_;
        const int after = get();
        if (after == '\n')
            ++offset_;
        else
            pending_ = after;
    } else if (c == '\n') {
        ++offset_;
    }
    return true;
}

}  // namespace stream
