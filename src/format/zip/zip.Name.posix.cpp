#include "format/zip/zip.Name.h"

namespace engine5::zip {

std::string localName(const tuckett5::UnicodeName& name) {
    bool ascii = true;
    for (unsigned short c : name) ascii &= c < 0x80;
    if (ascii) return std::string(name.begin(), name.end());
    std::string text;
    text.reserve(name.size() + name.size() / 2);
    for (size_t i = 0; i < name.size(); ++i) {
        uint32_t c = name[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < name.size() && name[i + 1] >= 0xDC00 && name[i + 1] <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (name[i + 1] - 0xDC00);
            ++i;
        } else if (c >= 0xD800 && c <= 0xDFFF) {
            c = '_';
        }
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
    return text;
}

}  // namespace engine5::zip
