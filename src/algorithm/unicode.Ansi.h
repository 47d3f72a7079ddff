#pragma once

#include <string>

namespace algorithm::unicode {

// A UTF-16 name in the Windows ANSI code page; a character the code page lacks
// becomes '_'. Answers `fallback` if the conversion fails. Windows only.
std::string toAnsi(const std::basic_string<unsigned short>& wide, const std::string& fallback);
// A name in the ANSI code page as UTF-16; empty if it isn't valid there. Windows only.
std::basic_string<unsigned short> fromAnsi(const std::string& ansi);

} // namespace algorithm::unicode
