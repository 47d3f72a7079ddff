#include "algorithm/unicode.UTF8Coder.h"

#include "algorithm/unicode.Ansi.h"

namespace algorithm::unicode {

std::string UTF8Coder::toLocal(const std::string& name) { return toAnsi(decode(name), name); }

} // namespace algorithm::unicode
