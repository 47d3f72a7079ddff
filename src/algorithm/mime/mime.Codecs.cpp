#include "algorithm/mime/mime.Codecs.h"

namespace algorithm::mime {

namespace {

int hexValue(unsigned char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

}  // namespace

int base64Value(unsigned char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

void Base64Decoder::feed(const char* text, size_t length, std::string& out) {
    for (size_t i = 0; i < length && !ended_; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '=') {
            ended_ = true;
            break;
        }
        const int value = base64Value(c);
        if (value < 0) continue;
        bits_ = (bits_ << 6 | static_cast<unsigned>(value)) & 0xFFFFFF;
        if (++count_ == 4) {
            out += static_cast<char>(bits_ >> 16);
            out += static_cast<char>(bits_ >> 8);
            out += static_cast<char>(bits_);
            count_ = 0;
        }
    }
    if (ended_ && count_ != 0) {
        // The padding ends a group of two or three characters.
        if (count_ == 2) out += static_cast<char>(bits_ >> 4);
        if (count_ == 3) {
            out += static_cast<char>(bits_ >> 10);
            out += static_cast<char>(bits_ >> 2);
        }
        count_ = 0;
    }
}

std::string decodeQuotedPrintable(const char* text, size_t length) {
    std::string out;
    out.reserve(length);
    size_t lineStart = 0;
    while (lineStart < length) {
        size_t end = lineStart;
        while (end < length && text[end] != '\n') ++end;
        const bool hasBreak = end < length;
        size_t stop = end;
        const bool crlf = stop > lineStart && text[stop - 1] == '\r';
        if (crlf) --stop;
        while (stop > lineStart && (text[stop - 1] == ' ' || text[stop - 1] == '\t')) --stop;
        bool soft = false;
        for (size_t i = lineStart; i < stop; ++i) {
            const char c = text[i];
            if (c != '=') {
                out += c;
                continue;
            }
            if (i + 1 == stop) {
                soft = true;
                break;
            }
            const int high = i + 2 < stop ? hexValue(static_cast<unsigned char>(text[i + 1])) : -1;
            const int low = i + 2 < stop ? hexValue(static_cast<unsigned char>(text[i + 2])) : -1;
            if (high < 0 || low < 0) {
                out += c;
                continue;
            }
            out += static_cast<char>(high << 4 | low);
            i += 2;
        }
        if (hasBreak && !soft) out += crlf ? "\r\n" : "\n";
        lineStart = hasBreak ? end + 1 : end;
    }
    return out;
}

}  // namespace algorithm::mime
