#include "algorithm/unicode.UTF8Coder.h"

#include "algorithm/unicode.Ansi.h"

namespace algorithm::unicode {

std::string UTF8Coder::toLocal(const std::string& name) { return toAnsi(decode(name), name); }

} // namespace algorithm::unicode

namespace algorithm::unicode {

std::basic_string<unsigned short> UTF8Coder::fromLocal(const std::string& name) {
    return fromAnsi(name);
}

} // namespace algorithm::unicode
