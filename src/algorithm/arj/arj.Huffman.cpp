#include "algorithm/arj/arj.Huffman.h"

namespace algorithm::arj {

bool Huffman::build(const uint8_t* lengths, unsigned symbols) {
    for (uint16_t& count : counts_) count = 0;
    for (unsigned s = 0; s < symbols; ++s) {
        if (lengths[s] > maxBits) return false;
        ++counts_[lengths[s]];
    }
    counts_[0] = 0;
    // A complete code fills the whole space of 16-bit codes exactly.
    uint32_t space = 0;
    for (unsigned length = 1; length <= maxBits; ++length) space += uint32_t(counts_[length]) << (maxBits - length);
    if (space != (uint32_t(1) << maxBits)) return false;

    uint16_t offsets[maxBits + 2] = {};
    for (unsigned length = 1; length <= maxBits; ++length) offsets[length + 1] = offsets[length] + counts_[length];
    sorted_.assign(offsets[maxBits + 1], 0);
    for (unsigned s = 0; s < symbols; ++s)
        if (lengths[s] != 0) sorted_[offsets[lengths[s]]++] = static_cast<uint16_t>(s);

    // Fill the table: each code of up to tableBits bits covers the entries
    // that begin with it; the rest of the table leads to the long codes.
    for (Entry& e : table_) e = Entry{long_, 0};
    uint32_t code = 0;
    unsigned index = 0;
    for (unsigned length = 1; length <= maxBits; ++length) {
        for (unsigned k = 0; k < counts_[length]; ++k, ++index, ++code) {
            if (length > tableBits_) continue;
            const uint32_t first = code << (tableBits_ - length);
            const uint32_t span = uint32_t(1) << (tableBits_ - length);
            for (uint32_t i = 0; i < span; ++i) table_[first + i] = Entry{sorted_[index], static_cast<uint8_t>(length)};
        }
        code <<= 1;
    }
    return true;
}

void Huffman::single(unsigned symbol) {
    for (Entry& e : table_) e = Entry{static_cast<uint16_t>(symbol), 0};
}

unsigned Huffman::decodeLong(BitInput& bits) const {
    const uint32_t window = bits.peek(maxBits);
    uint32_t first = 0;
    uint32_t index = 0;
    for (unsigned length = 1; length <= maxBits; ++length) {
        const uint32_t code = window >> (maxBits - length);
        const uint32_t count = counts_[length];
        if (code - first < count) {
            bits.skip(length);
            return sorted_[index + code - first];
        }
        index += count;
        first = (first + count) << 1;
    }
    // A complete code always ends above; the table is built only from one.
    bits.skip(maxBits);
    return sorted_.empty() ? 0 : sorted_.back();
}

}  // namespace algorithm::arj
