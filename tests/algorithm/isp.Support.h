#pragma once

// Builds ISP streams by hand for the tests: canonical codes made the textbook
// way (counts per length, then first codes), the bits written through the
// least-significant-first output, and a plain LZ expansion of the tokens as
// the expected result.

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "algorithm/bit.LSB.h"
#include "algorithm/isp/isp.Data.h"
#include "algorithm/isp/isp.Decompressor.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"

namespace isptest {

using algorithm::isp::HuffmanCodeword;

// Codes for lengths of at most 31 bits (-1 unused), first bit in bit 0.
inline std::vector<HuffmanCodeword> canonical(const std::vector<int>& lengths) {
    int count[33] = {};
    for (int l : lengths)
        if (l > 0) ++count[l];
    uint32_t next[33] = {};
    uint32_t code = 0;
    for (int l = 1; l <= 32; ++l) {
        code = (code + count[l - 1]) << 1;
        next[l] = code;
    }
    std::vector<HuffmanCodeword> codes(lengths.size(), HuffmanCodeword{0, -1});
    for (size_t s = 0; s < lengths.size(); ++s) {
        int l = lengths[s];
        if (l <= 0) continue;
        uint32_t c = next[l]++;
        uint32_t reversed = 0;
        for (int i = 0; i < l; ++i) reversed |= ((c >> i) & 1u) << (l - 1 - i);
        codes[s] = {reversed, l};
    }
    return codes;
}

inline std::vector<int> presetLengths(const char* text, int n) {
    std::vector<int> v(n);
    for (int i = 0; i < n; ++i) v[i] = algorithm::isp::Data::presetLength(text[i]);
    return v;
}

// A literal (length 0) or a match.
struct Token {
    uint32_t length;
    uint32_t distanceOrByte;
};
inline Token lit(uint8_t b) { return {0, b}; }
inline Token match(uint32_t length, uint32_t distance) { return {length, distance}; }

inline std::string expandTokens(const std::vector<Token>& tokens) {
    std::string out;
    for (const Token& t : tokens) {
        if (t.length == 0) {
            out.push_back(static_cast<char>(t.distanceOrByte));
        } else {
            for (uint32_t i = 0; i < t.length; ++i) out.push_back(out[out.size() - t.distanceOrByte]);
        }
    }
    return out;
}

class Builder {
public:
    Builder() : out_(bytes_), bits_(out_) {}

    void put(uint32_t value, unsigned n) { bits_.write(value, n); }
    void code(const HuffmanCodeword& c) { bits_.write(c.code, static_cast<unsigned>(c.length)); }
    void prefix(int value) { code(algorithm::isp::Data::prefix_tab_huff[value]); }
    void header(int distanceSymbols, bool same, int preset) {
        put(static_cast<uint32_t>(distanceSymbols - 10), 3);
        put(same ? 1 : 0, 1);
        put(static_cast<uint32_t>(preset), 4);
    }
    // A list of lengths with one code value per entry, no repeats.
    void lengths(const std::vector<int>& list) {
        for (int l : list) prefix(l == -1 ? 31 : l - 1);
    }
    // The tokens and the end code, with the literal table after a literal
    // and the pointer table after a match.
    void tokens(const std::vector<Token>& list, const std::vector<HuffmanCodeword>& literals,
                const std::vector<HuffmanCodeword>& pointers, const std::vector<HuffmanCodeword>& distances) {
        const std::vector<HuffmanCodeword>* table = &literals;
        for (const Token& t : list) {
            if (t.length == 0) {
                code((*table)[t.distanceOrByte]);
                table = &literals;
                continue;
            }
            if (t.length <= 64) {
                code((*table)[t.length + 253]);
            } else if (t.length - 65 < 1024) {
                code((*table)[318]);
                put(t.length - 65, 10);
            } else {
                code((*table)[319]);
                put(t.length - 65, 15);
            }
            const uint32_t v = t.distanceOrByte - 1;
            unsigned s = 0;
            while ((v >> s) != 0) ++s;
            code(distances[s]);
            if (s > 1) put(v & ((1u << (s - 1)) - 1), s - 1);
            table = &pointers;
        }
        code((*table)[320]);
    }
    std::vector<char> finish() {
        bits_.flush();
        return bytes_;
    }

private:
    std::vector<char> bytes_;
    stream::VectorOutput out_;
    algorithm::bit::LSBOutput<uint32_t> bits_;
};

inline std::string expand(const std::vector<char>& packed) {
    std::vector<char> plain;
    stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
    stream::VectorOutput out(plain);
    algorithm::isp::Decompressor().process(in, out);
    return std::string(plain.begin(), plain.end());
}

} // namespace isptest
