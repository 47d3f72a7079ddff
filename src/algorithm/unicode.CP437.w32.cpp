#include "algorithm/unicode.CP437.h"

#include "algorithm/unicode.Ansi.h"

namespace algorithm::unicode {

std::string CP437::toLocal(const std::string& name) { return toAnsi(decode(name), name); }

} // namespace algorithm::unicode
