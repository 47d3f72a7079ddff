#include "io/io.File.h"

#include <algorithm>

#include "io/io.Exception.h"

namespace io {

File::~File() { release(); }

void File::resize(uint64_t newSize) {
    if (!isOpen()) return;
    uint64_t current = size();
    if (newSize < current) throw Exception("io::File::resize() cannot truncate " + path_);
    char filler[4096];
    std::fill(std::begin(filler), std::end(filler), static_cast<char>(0xBC));
    for (uint64_t left = newSize - current; left != 0;) {
        uint32_t step = static_cast<uint32_t>(std::min<uint64_t>(left, sizeof filler));
        write(filler, step);
        left -= step;
    }
}

} // namespace io
