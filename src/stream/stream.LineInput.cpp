#include "stream/stream.LineInput.h"

namespace stream {

namespace {
bool isLineEnd(int c) { return c == '\r' || c == '\n'; }
} // namespace

uint32_t LineInput::readLine(std::vector<char>& line) {
    line.clear();
    int c;
    do {
        c = read();
    } while (isLineEnd(c));
    if (c == -1) return 0xFFFFFFFFu;
    while (c != -1 && !isLineEnd(c)) {
        line.push_back(static_cast<char>(c));
        c = read();
    }
    return static_cast<uint32_t>(line.size());
}

int LineInput::readLine(char* buffer, uint32_t size) {
    if (buffer == nullptr || size == 0) return 0;
    buffer[0] = 0;
    if (size == 1) return 0;
    int c;
    do {
        c = read();
    } while (isLineEnd(c));
    if (c == -1) return -1;
    uint32_t length = 0;
    for (;;) {
        buffer[length++] = static_cast<char>(c);
        if (length == size - 1) break;
        c = read();
        if (c == -1 || isLineEnd(c)) break;
    }
    buffer[length] = 0;
    return static_cast<int>(length);
}

} // namespace stream
