#include "algorithm/uu/uu.Line.h"

namespace algorithm::uu {

bool uuencodedLine(const char* line, uint32_t length) {
    if (line == nullptr || length == 0) return false;
    for (uint32_t i = 0; i < length; ++i) {
        auto c = static_cast<unsigned char>(line[i]);
        if (c < 0x20 || c > 0x60) return false;
    }
    unsigned count = (static_cast<unsigned char>(line[0]) - 0x20u) & 0x3Fu;
    if (count > 45) return false;
    uint32_t needed = (count + 2) / 3 * 4;
    uint32_t present = length - 1;
    return present + 2 >= needed && present <= needed + 2;
}

}  // namespace algorithm::uu
