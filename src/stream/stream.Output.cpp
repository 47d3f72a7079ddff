#include "stream/stream.Output.h"

#include "stream/stream.Exception.h"
#include "stream/stream.Input.h"

namespace stream {

void Output::write(const char* buffer, uint32_t count) {
    if (buffer == nullptr) return;
    for (uint32_t i = 0; i < count; ++i) write(buffer[i]);
}

void Output::fill(uint64_t count, char value) {
    for (uint64_t i = 0; i < count; ++i) write(value);
}

// Unlike Input::copy, a count of all ones becomes the source's size without
// subtracting what was already read; the end of the source stops the loop.
uint64_t Output::copy(Input& from, uint64_t count) {
    if (count == all) count = from.size();
    uint64_t moved = 0;
    while (count != 0) {
        int c = from.read();
        if (c == -1) break;
        write(static_cast<char>(c));
        ++moved;
        --count;
    }
    flush();
    return moved;
}

void Output::resize(uint64_t newSize) {
    uint64_t current = size();
    if (newSize < current) throw Exception("default stream::Output::resize() does not truncate its stream");
    if (newSize > current) fill(newSize - current, 0);
}

} // namespace stream
