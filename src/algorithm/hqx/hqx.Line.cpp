#include "algorithm/hqx/hqx.Line.h"

#include <array>

namespace algorithm::hqx {

namespace {

constexpr std::array<signed char, 256> makeTable() {
    std::array<signed char, 256> table{};
    for (auto& entry : table) entry = -1;
    for (int i = 0; i < 64; ++i) table[static_cast<unsigned char>(Line::alphabet[i])] = static_cast<signed char>(i);
    return table;
}

constexpr std::array<signed char, 256> table = makeTable();

// The smallest BinHex data (a one-letter name, empty forks and the checks) takes
// 26 bytes, which no run-length coding brings below this many characters.
constexpr uint32_t minShortLine = 8;

}  // namespace

int Line::value(unsigned char c) { return table[c]; }

bool Line::isFirstBinHexLine(const char* text, uint32_t length) {
    if (text == nullptr || length == 0 || text[0] != ':') return false;
    uint32_t at = 1;
    while (at < length && table[static_cast<unsigned char>(text[at])] >= 0) ++at;
    if (at >= length) return false;
    uint32_t characters = at - 1;
    char end = text[at];
    // Mail and editors may leave blanks at the end of a line.
    uint32_t after = at;
    while (after < length && (text[after] == ' ' || text[after] == '\t')) ++after;
    if (after >= length) return false;
    if (after != at && (text[after] == '\r' || text[after] == '\n')) end = text[after];
    if (end == '\r' || end == '\n') return characters + 1 == lineLength;
    if (end == ':') return characters >= minShortLine && characters < lineLength;
    return false;
}

}  // namespace algorithm::hqx
