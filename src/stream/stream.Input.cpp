#include "stream/stream.Input.h"

#include "stream/stream.Output.h"

namespace stream {

uint32_t Input::read(char* buffer, uint32_t count) {
    uint32_t done = 0;
    while (done < count) {
        int c = read();
        if (c == -1) break;
        buffer[done++] = static_cast<char>(c);
    }
    return done;
}

uint64_t Input::skip(uint64_t count) {
    uint64_t done = 0;
    while (done < count && read() != -1) ++done;
    return done;
}

uint64_t Input::copy(Output& to, uint64_t count) {
    if (count == all) count = size() - tell();
    uint64_t moved = 0;
    while (count != 0) {
        int c = read();
        if (c == -1) break;
        to.write(static_cast<char>(c));
        ++moved;
        --count;
    }
    to.flush();
    return moved;
}

} // namespace stream
