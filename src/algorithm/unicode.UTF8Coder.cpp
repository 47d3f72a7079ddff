#include "algorithm/unicode.UTF8Coder.h"

namespace algorithm::unicode {

namespace {

constexpr unsigned short replacement = 0xFFFD;

void append(std::string& text, unsigned long c) {
    if (c < 0x80) {
        text.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        text.push_back(static_cast<char>(0xC0 | (c >> 6)));
        text.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        text.push_back(static_cast<char>(0xE0 | (c >> 12)));
        text.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        text.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        text.push_back(static_cast<char>(0xF0 | (c >> 18)));
        text.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        text.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        text.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

} // namespace

std::basic_string<unsigned short> UTF8Coder::decode(const std::string& name) {
    std::basic_string<unsigned short> text;
    text.reserve(name.size());
    const size_t n = name.size();
    size_t i = 0;
    while (i < n) {
        const unsigned char lead = static_cast<unsigned char>(name[i]);
        if (lead < 0x80) {
            text.push_back(lead);
            ++i;
            continue;
        }
        int more;
        unsigned long c, least;
        if (lead >= 0xC2 && lead <= 0xDF) {
            more = 1, c = lead & 0x1F, least = 0x80;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            more = 2, c = lead & 0x0F, least = 0x800;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            more = 3, c = lead & 0x07, least = 0x10000;
        } else {
            text.push_back(replacement);
            ++i;
            continue;
        }
        bool good = true;
        for (int k = 1; good && k <= more; ++k) {
            if (i + k >= n) {
                good = false;
                break;
            }
            const unsigned char next = static_cast<unsigned char>(name[i + k]);
            if ((next & 0xC0) != 0x80) good = false;
            else c = (c << 6) | (next & 0x3F);
        }
        if (!good || c < least || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
            text.push_back(replacement);
            ++i;
            continue;
        }
        if (c >= 0x10000) {
            c -= 0x10000;
            text.push_back(static_cast<unsigned short>(0xD800 | (c >> 10)));
            text.push_back(static_cast<unsigned short>(0xDC00 | (c & 0x3FF)));
        } else {
            text.push_back(static_cast<unsigned short>(c));
        }
        i += static_cast<size_t>(more) + 1;
    }
    return text;
}

std::string UTF8Coder::encode(const std::basic_string<unsigned short>& name) {
    std::string text;
    text.reserve(name.size() + name.size() / 2);
    for (size_t i = 0; i < name.size(); ++i) {
        unsigned long c = name[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < name.size() && name[i + 1] >= 0xDC00 && name[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (name[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = replacement;
        }
        append(text, c);
    }
    return text;
}

} // namespace algorithm::unicode
