#pragma once

#include <vector>

#include "stream/stream.FilterInput.h"

namespace stream {

// Reads lines ended by CR, LF or both. Line ends before the first byte of a
// line are skipped, so blank lines and CR LF pairs never give an empty line.
class LineInput : public FilterInput {
public:
    explicit LineInput(Input& under) : FilterInput(under) {}

    // Stores at most size - 1 bytes and a NUL; a longer line is cut there and
    // its rest is the next line. Answers the length, or -1 at the end.
    int readLine(char* buffer, uint32_t size);
    // Answers the length, or 0xFFFFFFFF (-1) at the end.
    uint32_t readLine(std::vector<char>& line);
};

} // namespace stream
