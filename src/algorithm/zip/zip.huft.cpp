#include "algorithm/zip/zip.huft.h"

#include "algorithm/algorithm.Exception.h"

namespace algorithm::zip {

namespace {
constexpr int maxBits = 16;     // longest code of any table
constexpr int maxSymbols = 288; // largest alphabet (Deflate literals and lengths)
} // namespace

// The classic multi-level table builder. Codes are assigned in canonical order,
// read least significant bit first; a first-level table is indexed by the
// lowest bits of the input and longer codes continue into next-level tables.
// Each allocation carries one link entry in front of it, so that huft_free can
// walk all tables of one build from the first.
void huft_build(const int* lengths, int count, int simple, const int* bases, const int* extras, huft** table,
                int* lookupBits) {
    if (count <= 0 || count > maxSymbols) throw Exception("algorithm::zip::huft_build(): bad input, more codes than bits");

    unsigned c[maxBits + 1] = {};       // number of codes of each length
    unsigned x[maxBits + 1];            // offsets into v, then the code stack
    int levelBits[maxBits + 1];         // width of the table at each level
    huft* u[maxBits];                   // the table at each level
    unsigned v[maxSymbols];             // symbols in order of code length

    // The end code, where there is one, is made to end at a table boundary.
    const int endLength = count > 256 ? lengths[256] : maxBits;

    for (int i = 0; i < count; ++i) {
        int length = lengths[i];
        if (length < 0 || length > maxBits) throw Exception("algorithm::zip::huft_build(): bad input, more codes than bits");
        ++c[length];
    }
    *table = nullptr;
    if (c[0] == static_cast<unsigned>(count)) {
        *lookupBits = 0;
        return;
    }

    // The shortest and longest lengths in use bound the first-level width.
    int l = *lookupBits;
    int j = 1;
    while (j <= maxBits && c[j] == 0) ++j;
    int k = j;
    if (l < j) l = j;
    int i = maxBits;
    while (i > 0 && c[i] == 0) --i;
    const int g = i;
    if (l > g) l = g;

    // Check for over-subscription and fill an incomplete set with dummy codes
    // of the longest length; they decode as invalid.
    int y = 1 << j;
    for (; j < i; ++j, y <<= 1) {
        y -= static_cast<int>(c[j]);
        if (y < 0) throw Exception("algorithm::zip::huft_build(): bad input, more codes than bits");
    }
    y -= static_cast<int>(c[i]);
    if (y < 0) throw Exception("algorithm::zip::huft_build(): short input");
    c[i] += static_cast<unsigned>(y);

    // Offsets of each length in v, then the symbols sorted by length.
    x[1] = 0;
    unsigned sum = 0;
    for (int len = 1; len < g; ++len) {
        sum += c[len];
        x[len + 1] = sum;
    }
    for (int s = 0; s < count; ++s)
        if (lengths[s] != 0) v[x[lengths[s]]++] = static_cast<unsigned>(s);
    const unsigned n = x[g]; // number of real symbols

    unsigned code = 0;   // the current code, bit-reversed increment
    int h = -1;          // current table level
    int w = 0;           // bits decoded before the current table
    levelBits[0] = 0;
    int* lx = levelBits + 1; // lx[-1] is 0: nothing decoded before the first table
    unsigned p = 0;      // next symbol in v
    huft* q = nullptr;   // current table
    unsigned z = 0;      // entries in the current table
    huft** link = table; // where the next allocation is linked
    x[0] = 0;
    lx[-1] = 0;

    try {
        for (; k <= g; ++k) {
            unsigned a = c[k];
            while (a-- != 0) {
                // Make tables down to the level of this code.
                while (k > w + lx[h]) {
                    w += lx[h++];
                    unsigned limit = static_cast<unsigned>(g - w);
                    if (limit > static_cast<unsigned>(l)) limit = static_cast<unsigned>(l);
                    unsigned width = static_cast<unsigned>(k - w);
                    unsigned f = 1u << width;
                    if (f > a + 1) {
                        // Too few codes of this length for the width: grow the
                        // table while longer codes use up the patterns left.
                        f -= a + 1;
                        unsigned* xp = c + k;
                        while (++width < limit) {
                            f <<= 1;
                            if (f <= *++xp) break;
                            f -= *xp;
                        }
                    }
                    if (w + static_cast<int>(width) > endLength && w < endLength)
                        width = static_cast<unsigned>(endLength - w);
                    z = 1u << width;
                    lx[h] = static_cast<int>(width);

                    huft* block = new huft[z + 1];
                    for (unsigned e = 0; e <= z; ++e) {
                        block[e].e = 99;
                        block[e].b = 1;
                        block[e].v.t = nullptr;
                    }
                    *link = block + 1;
                    link = &block->v.t;
                    q = block + 1;
                    u[h] = q;

                    if (h != 0) {
                        // Hook the new table into the one above it.
                        x[h] = code;
                        huft r;
                        r.b = static_cast<uint8_t>(lx[h - 1]);
                        r.e = static_cast<uint8_t>(16 + width);
                        r.v.t = q;
                        unsigned index = (code & ((1u << w) - 1)) >> (w - lx[h - 1]);
                        u[h - 1][index] = r;
                    }
                }

                huft r;
                r.b = static_cast<uint8_t>(k - w);
                r.v.t = nullptr;
                if (p >= n) {
                    r.e = 99;
                } else if (static_cast<int>(v[p]) < simple) {
                    r.e = static_cast<uint8_t>(v[p] < 256 ? 16 : 15);
                    r.v.n = static_cast<uint16_t>(v[p]);
                    ++p;
                } else {
                    r.e = static_cast<uint8_t>(extras[v[p] - simple]);
                    r.v.n = static_cast<uint16_t>(bases[v[p] - simple]);
                    ++p;
                }

                // The entry repeats every 2^(k-w) positions of the table.
                unsigned step = 1u << (k - w);
                for (unsigned e = code >> w; e < z; e += step) q[e] = r;

                // Next code of length k, in bit-reversed order.
                unsigned bit = 1u << (k - 1);
                while (code & bit) {
                    code ^= bit;
                    bit >>= 1;
                }
                code ^= bit;

                // Back up over the tables that are complete.
                while ((code & ((1u << w) - 1)) != x[h]) w -= lx[--h];
            }
        }
    } catch (...) {
        huft_free(*table);
        *table = nullptr;
        throw;
    }
    *lookupBits = lx[0];
}

void huft_free(huft* table) {
    huft* p = table;
    while (p != nullptr) {
        huft* block = p - 1;
        p = block->v.t;
        delete[] block;
    }
}

} // namespace algorithm::zip
