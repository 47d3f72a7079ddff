#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "algorithm/arj/arj.BitInput.h"

namespace algorithm::arj {

// A canonical Huffman code of up to 16 bits, read most significant bit first:
// shorter codes come first, and within a length the lower symbols. Codes of
// up to `tableBits` bits decode by one look-up; longer ones count their way
// through the lengths.
class Huffman {
public:
    static constexpr unsigned maxBits = 16;

    explicit Huffman(unsigned tableBits) : tableBits_(tableBits), table_(size_t(1) << tableBits) {}

    // Builds the code from the length of each symbol's code (0: unused).
    // Answers false unless the lengths make a complete code.
    bool build(const uint8_t* lengths, unsigned symbols);
    // A code of one symbol that takes no bits at all.
    void single(unsigned symbol);

    unsigned decode(BitInput& bits) const {
        const Entry& e = table_[bits.peek(tableBits_)];
        if (e.length != 0 || e.symbol != long_) {
            bits.skip(e.length);
            return e.symbol;
        }
        return decodeLong(bits);
    }

private:
    struct Entry {
        uint16_t symbol = 0;
        uint8_t length = 0;
    };
    // The mark of a table entry whose codes are longer than the table.
    static constexpr uint16_t long_ = 0xFFFF;

    unsigned decodeLong(BitInput& bits) const;

    unsigned tableBits_;
    std::vector<Entry> table_;
    // Codes of each length, and the symbols in the order of their codes.
    uint16_t counts_[maxBits + 1] = {};
    std::vector<uint16_t> sorted_;
};

}  // namespace algorithm::arj
