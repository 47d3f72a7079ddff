#pragma once

#include <string>

namespace algorithm::unicode {

// UTF-8, the encoding of item names in the native archives unless they say
// otherwise. Names are UTF-16 in the engine's Unicode form.
class UTF8Coder {
public:
    // The name as UTF-16. A byte that starts no well-formed sequence (a stray
    // continuation, an overlong form, a surrogate, a cut-off tail) becomes
    // U+FFFD, and decoding goes on with the next byte.
    static std::basic_string<unsigned short> decode(const std::string& name);
    // UTF-16 to UTF-8; an unpaired surrogate becomes U+FFFD.
    static std::string encode(const std::basic_string<unsigned short>& name);
    // The name in the engine's 8-bit form: unchanged on POSIX, the ANSI code
    // page on Windows (a character that it lacks becomes '_').
    static std::string toLocal(const std::string& name);
    // The reverse of toLocal: a name in the engine's 8-bit form as UTF-16.
    // Empty when the name is empty or isn't well formed in that encoding.
    static std::basic_string<unsigned short> fromLocal(const std::string& name);
};

} // namespace algorithm::unicode
