#pragma once

#include <cstdint>

namespace algorithm::zip {

// One entry of a multi-level Huffman decoding table.
//   e == 16      a literal; the byte is in v.n
//   e == 15      the end of the block
//   e 0 to 13    a base value in v.n followed by e extra bits
//   e > 16       e - 16 further bits index the next-level table in v.t
//   e == 99      an invalid code
// b is the number of bits the entry's code takes at its level.
struct huft {
    uint8_t e;
    uint8_t b;
    union {
        uint16_t n;
        huft* t;
    } v;
};

// Builds the decoding table for the code lengths lengths[0..count). Symbols
// below `simple` decode as literals (below 256) or as the end code; the others
// take their base value and extra-bit count from bases and extras, indexed by
// symbol - simple. *lookupBits asks for a first-level width and answers the
// width used. All lengths 0 give a null table and width 0. An over-subscribed
// set throws an algorithm::Exception; an incomplete one is accepted, and the
// codes that it leaves unused decode as invalid (e == 99).
void huft_build(const int* lengths, int count, int simple, const int* bases, const int* extras, huft** table,
                int* lookupBits);

// Frees a table from huft_build, with all its next-level tables. Null is allowed.
void huft_free(huft* table);

// Owns a table from huft_build for the length of a scope.
class HuftHolder {
public:
    HuftHolder() = default;
    HuftHolder(const HuftHolder&) = delete;
    HuftHolder& operator=(const HuftHolder&) = delete;
    ~HuftHolder() { huft_free(table); }

    void reset() {
        huft_free(table);
        table = nullptr;
        bits = 0;
    }

    huft* table = nullptr;
    int bits = 0;
};

} // namespace algorithm::zip
