#include "format/mime/mime.Fields.h"

#include <cstdlib>
#include <vector>

#include "algorithm/mime/mime.Codecs.h"

namespace format::mime {

namespace {

std::string lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

std::string trim(const std::string& text) {
    size_t begin = 0, end = text.size();
    while (begin < end && (text[begin] == ' ' || text[begin] == '\t')) ++begin;
    while (end > begin && (text[end - 1] == ' ' || text[end - 1] == '\t')) --end;
    return text.substr(begin, end - begin);
}

int hex(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

std::string percentDecoded(const std::string& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hex(text[i + 1]) >= 0 && hex(text[i + 2]) >= 0) {
            out += static_cast<char>(hex(text[i + 1]) << 4 | hex(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

void appendUTF8(std::string& out, unsigned code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | code >> 6);
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | code >> 12);
        out += static_cast<char>(0x80 | (code >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

// Windows-1252 at 0x80 to 0x9F; 0 where it has no character.
const unsigned short cp1252[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                   0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                   0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                   0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// One parameter as it stands: its name, value, and whether it was quoted.
struct Raw {
    std::string name;
    std::string value;
};

std::vector<Raw> splitParameters(const std::string& text, size_t at) {
    std::vector<Raw> found;
    while (at < text.size()) {
        while (at < text.size() && (text[at] == ';' || text[at] == ' ' || text[at] == '\t')) ++at;
        size_t equals = at;
        while (equals < text.size() && text[equals] != '=' && text[equals] != ';') ++equals;
        if (equals >= text.size() || text[equals] != '=') {
            at = equals;
            continue;
        }
        Raw one;
        one.name = lower(trim(text.substr(at, equals - at)));
        at = equals + 1;
        while (at < text.size() && (text[at] == ' ' || text[at] == '\t')) ++at;
        if (at < text.size() && text[at] == '"') {
            for (++at; at < text.size() && text[at] != '"'; ++at) {
                if (text[at] == '\\' && at + 1 < text.size()) ++at;
                one.value += text[at];
            }
            ++at;
        } else {
            size_t end = at;
            while (end < text.size() && text[end] != ';') ++end;
            one.value = trim(text.substr(at, end - at));
            at = end;
        }
        if (!one.name.empty()) found.push_back(one);
    }
    return found;
}

}  // namespace

std::string toUTF8(const std::string& bytes, const std::string& charset) {
    const std::string name = lower(charset);
    const bool latin1 = name == "iso-8859-1" || name == "latin1" || name == "iso_8859-1" || name == "l1";
    const bool windows = name == "windows-1252" || name == "cp1252";
    if (!latin1 && !windows) return bytes;
    std::string out;
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        unsigned code = b;
        if (windows && b >= 0x80 && b < 0xA0 && cp1252[b - 0x80] != 0) code = cp1252[b - 0x80];
        appendUTF8(out, code);
    }
    return out;
}

std::string decodeWords(const std::string& text) {
    std::string out;
    size_t at = 0;
    bool lastWasWord = false;
    while (at < text.size()) {
        const size_t start = text.find("=?", at);
        if (start == std::string::npos) {
            out += text.substr(at);
            break;
        }
        // =?charset?B|Q?text?=
        const size_t q1 = text.find('?', start + 2);
        const size_t q2 = q1 == std::string::npos ? q1 : text.find('?', q1 + 1);
        const size_t end = q2 == std::string::npos ? q2 : text.find("?=", q2 + 1);
        if (end == std::string::npos || q2 != q1 + 2) {
            out += text.substr(at, start + 2 - at);
            at = start + 2;
            lastWasWord = false;
            continue;
        }
        const std::string between = text.substr(at, start - at);
        if (!(lastWasWord && trim(between).empty())) out += between;
        std::string charset = text.substr(start + 2, q1 - start - 2);
        const size_t star = charset.find('*');  // RFC 2231 language
        if (star != std::string::npos) charset.resize(star);
        const char kind = static_cast<char>(text[q1 + 1] | 0x20);
        const std::string encoded = text.substr(q2 + 1, end - q2 - 1);
        std::string bytes;
        if (kind == 'b') {
            algorithm::mime::Base64Decoder decoder;
            decoder.feed(encoded.data(), encoded.size(), bytes);
            decoder.feed("=", 1, bytes);
        } else if (kind == 'q') {
            for (size_t i = 0; i < encoded.size(); ++i) {
                if (encoded[i] == '_') {
                    bytes += ' ';
                } else if (encoded[i] == '=' && i + 2 < encoded.size() && hex(encoded[i + 1]) >= 0 &&
                           hex(encoded[i + 2]) >= 0) {
                    bytes += static_cast<char>(hex(encoded[i + 1]) << 4 | hex(encoded[i + 2]));
                    i += 2;
                } else {
                    bytes += encoded[i];
                }
            }
        } else {
            out += text.substr(start, end + 2 - start);
            at = end + 2;
            lastWasWord = false;
            continue;
        }
        out += toUTF8(bytes, charset);
        at = end + 2;
        lastWasWord = true;
    }
    return out;
}

ContentField parseContentField(const std::string& text) {
    ContentField field;
    size_t semicolon = text.find(';');
    field.value = lower(trim(text.substr(0, semicolon)));
    if (semicolon == std::string::npos) return field;

    // Sections of split parameters by name: index to value and whether it is
    // percent-encoded.
    std::map<std::string, std::map<unsigned, std::pair<std::string, bool>>> sections;
    for (const Raw& raw : splitParameters(text, semicolon + 1)) {
        std::string name = raw.name;
        bool extended = false;
        if (!name.empty() && name.back() == '*') {
            extended = true;
            name.pop_back();
        }
        const size_t star = name.find('*');
        if (star != std::string::npos) {
            const std::string digits = name.substr(star + 1);
            if (digits.empty() || digits.size() > 3 || digits.find_first_not_of("0123456789") != std::string::npos)
                continue;
            sections[name.substr(0, star)][static_cast<unsigned>(std::atoi(digits.c_str()))] = {raw.value, extended};
        } else if (extended) {
            sections[name][0] = {raw.value, true};
        } else if (field.parameters.count(name) == 0 && sections.count(name) == 0) {
            field.parameters[name] = decodeWords(raw.value);
        }
    }
    for (const auto& [name, parts] : sections) {
        std::string charset, bytes;
        unsigned expected = 0;
        for (const auto& [index, part] : parts) {
            if (index != expected++) break;
            std::string value = part.first;
            if (part.second && index == 0) {
                // charset'language'value
                const size_t first = value.find('\'');
                const size_t second = first == std::string::npos ? first : value.find('\'', first + 1);
                if (second != std::string::npos) {
                    charset = value.substr(0, first);
                    value = value.substr(second + 1);
                }
            }
            bytes += part.second ? percentDecoded(value) : value;
        }
        field.parameters[name] = charset.empty() ? decodeWords(bytes) : toUTF8(bytes, charset);
    }
    return field;
}

}  // namespace format::mime
