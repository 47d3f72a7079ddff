#pragma once

#include <cstdint>
#include <string>

namespace algorithm::uu {

// Bytes per line as uuencode writes them: 45, that is 60 characters.
constexpr uint32_t bytesPerLine = 45;

// What decodeLine found in a line.
enum class LineResult { ok, invalid, short_ };

// Decodes one line of uuencoded data and appends its bytes to `out`. Up to two
// characters fewer than the count needs stand for stripped trailing spaces;
// more missing make the line short.
LineResult decodeLine(const std::string& line, std::string& out);

// Appends the line for up to 45 bytes, with its LF, as POSIX uuencode writes
// it: "`" for the value 0, so that no line ends in a space.
void encodeLine(const char* data, uint32_t count, std::string& out);

}  // namespace algorithm::uu
