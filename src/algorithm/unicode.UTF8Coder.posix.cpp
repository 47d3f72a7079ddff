#include "algorithm/unicode.UTF8Coder.h"

namespace algorithm::unicode {

std::string UTF8Coder::toLocal(const std::string& name) { return name; }

} // namespace algorithm::unicode

namespace algorithm::unicode {

std::basic_string<unsigned short> UTF8Coder::fromLocal(const std::string& name) {
    std::basic_string<unsigned short> wide = decode(name);
    // decode() mends what is broken; a name that does not come back whole was no UTF-8.
    if (encode(wide) != name) wide.clear();
    return wide;
}

} // namespace algorithm::unicode
