#pragma once

#include <string>

#include "engine/t5.Info.h"

namespace engine5::zip {

// An entry's name as the engine uses it: the 8-bit form for paths, and the
// same text in UTF-16 for clients that show it.
struct EntryName {
    std::string local;
    tuckett5::UnicodeName unicode;
};

// Decodes a stored name. With the UTF-8 flag (bit 11) the bytes are UTF-8.
// Without it, an Info-ZIP Unicode path (0x7075) in the extra field whose check
// value matches the stored bytes gives the name; else a name made on Unix or a
// Macintosh (host 3, 7 or 19) that is valid UTF-8 is read as UTF-8, as the
// Info-ZIP tools there store names without the flag; else code page 437.
EntryName entryName(const std::string& stored, const std::string& extra, bool utf8, int host = 0);

// Whether the bytes are well-formed UTF-8.
bool validUTF8(const std::string& text);

// UTF-8 to UTF-16; a byte that starts no valid sequence becomes '_'.
tuckett5::UnicodeName decodeUTF8(const std::string& text);

// UTF-16 to the engine's 8-bit form: UTF-8 on POSIX, the ANSI code page on
// Windows (a character that it lacks becomes '_').
std::string localName(const tuckett5::UnicodeName& name);

}  // namespace engine5::zip
