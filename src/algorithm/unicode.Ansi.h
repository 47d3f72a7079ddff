#pragma once

#include <string>

namespace algorithm::unicode {

// A UTF-16 name in the Windows ANSI code page; a character the code page lacks
// becomes '_'. Answers `fallback` if the conversion fails. Windows only.
std::string toAnsi(const std::basic_string<unsigned short>& wide, const std::string& fallback);

} // namespace algorithm::unicode
