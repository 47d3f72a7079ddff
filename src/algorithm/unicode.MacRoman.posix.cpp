#include "algorithm/unicode.MacRoman.h"

namespace algorithm::unicode {

std::string MacRoman::toLocal(const std::string& name) { return toUTF8(name); }

} // namespace algorithm::unicode
