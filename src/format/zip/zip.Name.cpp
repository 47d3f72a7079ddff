#include "format/zip/zip.Name.h"

#include "algorithm/unicode.CP437.h"
#include "stream/check/crc.CRC.h"

namespace engine5::zip {

namespace {

constexpr uint16_t unicodePathTag = 0x7075;

bool isASCII(const std::string& text) {
    for (char c : text)
        if (static_cast<unsigned char>(c) >= 0x80) return false;
    return true;
}

uint16_t u16(const std::string& s, size_t at) {
    return static_cast<uint16_t>(static_cast<unsigned char>(s[at]) | static_cast<unsigned char>(s[at + 1]) << 8);
}

uint32_t u32(const std::string& s, size_t at) { return u16(s, at) | static_cast<uint32_t>(u16(s, at + 2)) << 16; }

// The UTF-8 name of an Info-ZIP Unicode path field that belongs to `stored`,
// or nothing: a field whose check value differs was written for another name
// and is stale.
bool unicodePath(const std::string& stored, const std::string& extra, std::string& name) {
    size_t at = 0;
    while (at + 4 <= extra.size()) {
        const uint16_t tag = u16(extra, at);
        const size_t length = u16(extra, at + 2);
        at += 4;
        if (length > extra.size() - at) return false;
        if (tag == unicodePathTag && length >= 5 && extra[at] == 1) {
            algorithm::crc::EthernetCRC crc;
            crc.update(stored.data(), static_cast<uint32_t>(stored.size()));
            if (~crc.value() != u32(extra, at + 1)) return false;
            name = extra.substr(at + 5, length - 5);
            return true;
        }
        at += length;
    }
    return false;
}

}  // namespace

tuckett5::UnicodeName decodeUTF8(const std::string& text) {
    // Names are nearly always plain ASCII, which widens byte for byte.
    if (isASCII(text)) return tuckett5::UnicodeName(text.begin(), text.end());
    tuckett5::UnicodeName result;
    result.reserve(text.size());
    const size_t size = text.size();
    for (size_t i = 0; i < size;) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        unsigned need = 0;
        uint32_t c = 0;
        if (lead < 0x80) {
            c = lead;
        } else if (lead >= 0xC2 && lead <= 0xDF) {
            need = 1;
            c = lead & 0x1F;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            need = 2;
            c = lead & 0x0F;
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            need = 3;
            c = lead & 0x07;
        } else {
            result.push_back('_');
            ++i;
            continue;
        }
        bool good = true;
        for (unsigned k = 1; good && k <= need; ++k) {
            if (i + k >= size) {
                good = false;
                break;
            }
            const unsigned char next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80)
                good = false;
            else
                c = c << 6 | (next & 0x3F);
        }
        // Overlong forms, surrogates and values above U+10FFFF are refused.
        if (good &&
            ((need == 2 && c < 0x800) || (need == 3 && (c < 0x10000 || c > 0x10FFFF)) || (c >= 0xD800 && c <= 0xDFFF)))
            good = false;
        if (!good) {
            result.push_back('_');
            ++i;
            continue;
        }
        if (c >= 0x10000) {
            c -= 0x10000;
            result.push_back(static_cast<unsigned short>(0xD800 | (c >> 10)));
            result.push_back(static_cast<unsigned short>(0xDC00 | (c & 0x3FF)));
        } else {
            result.push_back(static_cast<unsigned short>(c));
        }
        i += need + 1;
    }
    return result;
}

// The decoder turns every byte that starts no valid sequence into '_': the
// text is valid when no '_' came out that was not stored.
bool validUTF8(const std::string& text) {
    const tuckett5::UnicodeName decoded = decodeUTF8(text);
    size_t underscores = 0;
    for (unsigned short c : decoded) underscores += c == '_';
    size_t stored = 0;
    for (char c : text) stored += c == '_';
    return underscores == stored;
}

EntryName entryName(const std::string& stored, const std::string& extra, bool utf8, int host) {
    EntryName name;
    std::string unicode;
    const bool utf8Host = host == 3 || host == 7 || host == 19;
    if (utf8) {
        name.unicode = decodeUTF8(stored);
    } else if (unicodePath(stored, extra, unicode)) {
        name.unicode = decodeUTF8(unicode);
    } else if (utf8Host && validUTF8(stored)) {
        name.unicode = decodeUTF8(stored);
    } else {
        name.unicode = algorithm::unicode::CP437::decode(stored);
    }
    name.local = localName(name.unicode);
    return name;
}

}  // namespace engine5::zip
