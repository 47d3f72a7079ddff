#include "format/uu/uu.Header.h"

#include <cstring>
#include <vector>

#include "format/format.Exception.h"
#include "stream/stream.LineInput.h"
#include "stream/stream.Output.h"

namespace format::uu {

namespace {

std::string octalText(uint32_t mode) {
    std::string text;
    do {
        text.insert(text.begin(), static_cast<char>('0' + (mode & 7)));
        mode >>= 3;
    } while (mode != 0);
    while (text.size() < 3) text.insert(text.begin(), '0');
    return text;
}

}  // namespace

void Header::read(stream::Input& in, bool strict) {
    valid_ = false;
    name.clear();
    stream::LineInput lines(in);
    std::vector<char> buffer(maxLine);
    int length = lines.readLine(buffer.data(), maxLine);
    const char* line = buffer.data();
    if (length >= 6 && std::memcmp(line, "begin ", 6) == 0) {
        int at = 6;
        uint32_t value = 0;
        int digits = 0;
        while (at < length && line[at] >= '0' && line[at] <= '7' && digits < 6) {
            value = value * 8 + static_cast<uint32_t>(line[at++] - '0');
            ++digits;
        }
        if (digits > 0 && at < length && line[at] == ' ') {
            mode = value;
            name.assign(line + at + 1, static_cast<size_t>(length - at - 1));
            while (!name.empty() && name.back() == ' ') name.pop_back();
            valid_ = !name.empty();
        }
    }
    if (!valid_ && strict) throw Exception("bad begin line in format::uu::Header::read");
}

void Header::write(stream::Output& out) const {
    std::string line = "begin " + octalText(mode) + " " + name + "\n";
    out.write(line.data(), static_cast<uint32_t>(line.size()));
}

uint32_t Header::size() const { return static_cast<uint32_t>(6 + octalText(mode).size() + 1 + name.size() + 1); }

}  // namespace format::uu
