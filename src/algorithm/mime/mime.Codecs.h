#pragma once

#include <cstddef>
#include <string>

namespace algorithm::mime {

// Decodes base64 in pieces. Characters outside the alphabet (line ends,
// spaces, mail noise) are passed over; "=" ends the data.
class Base64Decoder {
public:
    void feed(const char* text, size_t length, std::string& out);
    // Whether the data stopped at a group boundary or at its padding.
    bool complete() const { return count_ == 0 || ended_; }
    bool ended() const { return ended_; }

private:
    unsigned bits_ = 0;
    unsigned count_ = 0;
    bool ended_ = false;
};

// Decodes quoted-printable text (RFC 2045): "=XX" is a byte, "=" at a line's
// end joins it to the next, trailing spaces of a line go, and a hard line
// break keeps its own form (CR LF or LF). A "=" with no hex digits after it is
// kept as it is, as mail readers do.
std::string decodeQuotedPrintable(const char* text, size_t length);

// The value of one character of the base64 alphabet, or -1.
int base64Value(unsigned char c);

}  // namespace algorithm::mime
