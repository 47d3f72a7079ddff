#include "format/btoa/btoa.Reader.h"

#include <cstring>
#include <string>

#include "engine/t5.Exception.h"
#include "stream/stream.LineReader.h"
#include "stream/stream.Output.h"

namespace engine5::btoa {

using tuckett5::exception::BadData;
using tuckett5::exception::BadFormat;

namespace {

// The three checks of every decoded byte, the zeros that fill the last group
// included. Only their low 32 bits are compared, so that the values of an
// encoder with 64-bit longs match too.
struct Checks {
    uint32_t eor = 0, sum = 0, rot = 0;
    void add(unsigned char c) {
        eor ^= c;
        sum += c + 1u;
        rot = (rot & 0x80000000u) ? (rot << 1) + 1 : rot << 1;
        rot += c;
    }
};

// Reads the next number of the end line in `base` and the word before it.
bool field(const std::string& line, size_t& at, const char* word, int base, uint64_t& value) {
    const size_t length = std::strlen(word);
    if (line.compare(at, length, word) != 0) return false;
    at += length;
    size_t digits = 0;
    value = 0;
    for (; at < line.size() && digits < 16; ++at, ++digits) {
        const char c = line[at];
        int v;
        if (c >= '0' && c <= '9')
            v = c - '0';
        else if (base == 16 && c >= 'a' && c <= 'f')
            v = c - 'a' + 10;
        else if (base == 16 && c >= 'A' && c <= 'F')
            v = c - 'A' + 10;
        else
            break;
        value = value * static_cast<uint64_t>(base) + static_cast<uint64_t>(v);
    }
    return digits > 0;
}

const char* const badData = "btoa data is damaged; data is invalid";

}  // namespace

Reader::Reader(uint32_t position, tuckett5::Reader& reader) : StreamReader(position, reader) { method = "btoa"; }

void Reader::expand(stream::random::Input& archive, stream::Output& out) {
    stream::LineReader lines(archive, archive.tell());
    std::string line;
    if (!lines.next(line)) throw BadFormat("missing btoa begin line");
    const bool five = line.compare(0, 7, "xbtoa5 ") == 0;
    if (five) {
        // "xbtoa5 LENGTH NAME Begin"
        size_t at = 7;
        while (at < line.size() && line[at] >= '0' && line[at] <= '9') ++at;
        size_t end = line.size();
        while (end > at && (line[end - 1] == ' ' || line[end - 1] == '\r')) --end;
        if (end >= at + 6 && line.compare(end - 5, 5, "Begin") == 0) end -= 6;
        if (end > at + 1) storedName = line.substr(at + 1, end - at - 1);
    } else if (line.compare(0, 11, "xbtoa Begin") != 0) {
        throw BadFormat("missing btoa begin line");
    }

    Checks checks;
    uint64_t decoded = 0;
    uint32_t word = 0;
    unsigned count = 0;
    char pending[4];
    bool havePending = false;
    auto group = [&](uint32_t value) {
        if (havePending) out.write(pending, 4);
        pending[0] = static_cast<char>(value >> 24);
        pending[1] = static_cast<char>(value >> 16);
        pending[2] = static_cast<char>(value >> 8);
        pending[3] = static_cast<char>(value);
        for (char c : pending) checks.add(static_cast<unsigned char>(c));
        havePending = true;
        decoded += 4;
    };
    bool ended = false;
    while (!ended && lines.next(line)) {
        if (line.compare(0, 9, "xbtoa End") == 0) {
            ended = true;
            break;
        }
        if (lines.cut()) throw BadData(badData);
        size_t length = line.size();
        while (length > 0 && line[length - 1] == ' ') --length;
        for (size_t i = 0; i < length; ++i) {
            const auto c = static_cast<unsigned char>(line[i]);
            if ((c == 'z' || (five && c == 'y')) && count == 0) {
                group(c == 'z' ? 0u : 0x20202020u);
            } else if (c >= '!' && c < '!' + 85) {
                const uint64_t next = uint64_t(word) * 85 + (c - '!');
                if (next > 0xFFFFFFFFu) throw BadData(badData);
                word = static_cast<uint32_t>(next);
                if (++count == 5) {
                    group(word);
                    word = 0;
                    count = 0;
                }
            } else {
                throw BadData(badData);
            }
        }
    }
    if (!ended) throw BadData("btoa data has no end line; data is invalid");
    if (count != 0) throw BadData(badData);

    // "xbtoa End N <count> <count in hex> E <xor> S <sum> R <rotation>"
    uint64_t n = 0, nHex = 0, eor = 0, sum = 0, rot = 0;
    size_t at = 9;
    if (!field(line, at, " N ", 10, n) || !field(line, at, " ", 16, nHex) || !field(line, at, " E ", 16, eor) ||
        !field(line, at, " S ", 16, sum) || !field(line, at, " R ", 16, rot))
        throw BadData("bad btoa end line; data is invalid");
    if (n != nHex || n > decoded || n + 4 <= decoded)
        throw BadData("btoa byte count does not match the data; data is invalid");
    if (uint32_t(eor) != checks.eor || uint32_t(sum) != checks.sum || uint32_t(rot) != checks.rot)
        throw BadData("btoa checksum mismatch; data is invalid");
    if (havePending) out.write(pending, static_cast<uint32_t>(n - (decoded - 4)));
}

std::string Reader::defaultName(const std::string& archiveName) const {
    static const char* const suffixes[] = {".btoa", ".bta", ".atob", nullptr};
    static const char* const tarSuffixes[] = {nullptr};
    return plainName(archiveName, suffixes, tarSuffixes);
}

}  // namespace engine5::btoa
