#pragma once

#include <string>

namespace algorithm::unicode {

// Mac OS Roman, the 8-bit character set of names that the native archives
// mark as local. The bytes below 0x80 are ASCII and pass unchanged; the
// others map to their Unicode characters.
class MacRoman {
public:
    static unsigned short toUnicode(unsigned char c);

    // The name as UTF-16, the form of the engine's Unicode names.
    static std::basic_string<unsigned short> decode(const std::string& name);
    // The name as UTF-8.
    static std::string toUTF8(const std::string& name);
    // The name in the engine's 8-bit form: UTF-8 on POSIX, the ANSI code page
    // on Windows (a character that it lacks becomes '_').
    static std::string toLocal(const std::string& name);
};

} // namespace algorithm::unicode
