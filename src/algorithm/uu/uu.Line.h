#pragma once

#include <cstdint>

namespace algorithm::uu {

// One line of uuencoded data: a length character (0x20 plus the count of
// bytes, 0 to 45; "`" stands for 0) and four characters from 0x20 to 0x60 for
// every three bytes. Up to two characters more or fewer than the count asks
// for are allowed: some encoders add a check character, and some mailers
// strip the trailing spaces of a line.
bool uuencodedLine(const char* line, uint32_t length);

}  // namespace algorithm::uu
