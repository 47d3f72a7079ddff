#include "algorithm/unicode.UTF8Coder.h"

namespace algorithm::unicode {

std::string UTF8Coder::toLocal(const std::string& name) { return name; }

} // namespace algorithm::unicode
