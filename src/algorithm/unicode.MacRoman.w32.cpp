#include "algorithm/unicode.MacRoman.h"

#include "algorithm/unicode.Ansi.h"

namespace algorithm::unicode {

std::string MacRoman::toLocal(const std::string& name) { return toAnsi(decode(name), name); }

} // namespace algorithm::unicode
