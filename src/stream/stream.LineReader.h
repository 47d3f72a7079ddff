#pragma once

#include <cstdint>
#include <string>

#include "stream/stream.Input.h"

namespace stream {

// Reads a text stream line by line for the text encodings: each line without
// its CR, LF or CR LF, the position where it starts, and whether it was longer
// than the limit (its rest is passed over, never kept).
class LineReader {
public:
    LineReader(Input& in, uint64_t start, uint32_t limit = 4096) : in_(in), offset_(start), limit_(limit) {}

    // The next line, or false at the end of the stream.
    bool next(std::string& line);
    // Where the line last read starts, and where the next one starts.
    uint64_t lineStart() const { return lineStart_; }
    uint64_t offset() const { return offset_; }
    bool cut() const { return cut_; }

private:
    int get();
    Input& in_;
    char buffer_[65536];
    uint32_t at_ = 0, filled_ = 0;
    uint64_t offset_, lineStart_ = 0;
    uint32_t limit_;
    bool cut_ = false;
    int pending_ = -2;
};

}  // namespace stream
