#include "stream/stream.TextOutput.h"

namespace stream {

void TextOutput::eol() {
    if (mode_ == 2 || mode_ == 3) FilterOutput::write('\r');
    if (mode_ == 1 || mode_ == 3) FilterOutput::write('\n');
}

void TextOutput::write(char value) {
    if (mode_ == 0) {
        FilterOutput::write(value);
        return;
    }
    if (value == '\r') {
        eol();
        lastWasCR_ = true;
        return;
    }
    if (value == '\n') {
        if (!lastWasCR_) eol();
    } else {
        FilterOutput::write(value);
    }
    lastWasCR_ = false;
}

void TextOutput::write(const char* buffer, uint32_t count) {
    if (buffer == nullptr) return;
    if (mode_ == 0) {
        FilterOutput::write(buffer, count);
        return;
    }
    for (uint32_t i = 0; i < count; ++i) write(buffer[i]);
}

void TextOutput::fill(uint64_t count, char value) {
    if (mode_ == 0) {
        FilterOutput::fill(count, value);
        return;
    }
    for (uint64_t i = 0; i < count; ++i) write(value);
}

} // namespace stream
