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
    while (c >= 0 && c != '\n' && c != '\r') {
        ++offset_;
        if (line.size() < limit_)
            line += static_cast<char>(c);
        else
            cut_ = true;
        c = get();
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
