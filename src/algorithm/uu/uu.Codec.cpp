#include "algorithm/uu/uu.Codec.h"

namespace algorithm::uu {

namespace {

inline char encode(unsigned value) { return value == 0 ? '`' : static_cast<char>(0x20 + (value & 0x3F)); }

}  // namespace

LineResult decodeLine(const std::string& line, std::string& out) {
    if (line.empty()) return LineResult::invalid;
    for (char c : line)
        if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) > 0x60) return LineResult::invalid;
    const unsigned count = (static_cast<unsigned char>(line[0]) - 0x20u) & 0x3Fu;
    if (count > bytesPerLine) return LineResult::invalid;
    const size_t needed = (count + 2) / 3 * 4;
    if (line.size() - 1 + 2 < needed) return LineResult::short_;
    const size_t base = out.size();
    out.resize(base + count);
    char* to = &out[base];
    const auto value = [&](size_t at) -> unsigned {
        return at < line.size() ? (static_cast<unsigned char>(line[at]) - 0x20u) & 0x3Fu : 0u;
    };
    for (size_t done = 0, at = 1; done < count; at += 4) {
        const unsigned a = value(at), b = value(at + 1), c = value(at + 2), d = value(at + 3);
        to[done++] = static_cast<char>(a << 2 | b >> 4);
        if (done < count) to[done++] = static_cast<char>((b & 0x0F) << 4 | c >> 2);
        if (done < count) to[done++] = static_cast<char>((c & 0x03) << 6 | d);
    }
    return LineResult::ok;
}

void encodeLine(const char* data, uint32_t count, std::string& out) {
    out += encode(count);
    for (uint32_t at = 0; at < count; at += 3) {
        const auto a = static_cast<unsigned char>(data[at]);
        const auto b = at + 1 < count ? static_cast<unsigned char>(data[at + 1]) : 0u;
        const auto c = at + 2 < count ? static_cast<unsigned char>(data[at + 2]) : 0u;
        out += encode(a >> 2);
        out += encode((a << 4 | b >> 4) & 0x3F);
        out += encode((b << 2 | c >> 6) & 0x3F);
        out += encode(c & 0x3F);
    }
    out += '\n';
}

}  // namespace algorithm::uu
