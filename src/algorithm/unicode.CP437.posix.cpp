#include "algorithm/unicode.CP437.h"

namespace algorithm::unicode {

std::string CP437::toLocal(const std::string& name) { return toUTF8(name); }

} // namespace algorithm::unicode
