#include "algorithm/deflate/deflate.Decompressor.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "algorithm/algorithm.Exception.h"

namespace algorithm::deflate {

using zip::huft;

const int Decompressor::border[19] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
const int Decompressor::cplens[31] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27, 31,
                                      35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258, 0,  0};
const int Decompressor::cplext[31] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2,
                                      3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0, 99, 99};
const int Decompressor::cpdist[32] = {1,    2,    3,    4,    5,    7,     9,     13,    17,  25, 33,
                                      49,   65,   97,   129,  193,  257,   385,   513,   769, 1025, 1537,
                                      2049, 3073, 4097, 6145, 8193, 12289, 16385, 24577, 0,   0};
const int Decompressor::cpdext[32] = {0, 0, 0, 0, 1, 1, 2, 2,   3,  3, 4, 4, 5, 5, 6, 6,
                                      7, 7, 8, 8, 9, 9, 10, 10, 11, 11, 12, 12, 13, 13, 99, 99};
const uint16_t Decompressor::mask[17] = {0x0000, 0x0001, 0x0003, 0x0007, 0x000F, 0x001F, 0x003F, 0x007F, 0x00FF,
                                         0x01FF, 0x03FF, 0x07FF, 0x0FFF, 0x1FFF, 0x3FFF, 0x7FFF, 0xFFFF};

namespace {

[[noreturn]] void fail(const char* message) { throw Exception(message, "algorithm"); }

// Frees the tables of one dynamic block on every path out of it.
struct Tables {
    zip::HuftHolder literals;
    zip::HuftHolder distances;
};

} // namespace

Decompressor::Decompressor() { std::memset(window_, 0, sizeof window_); }

Decompressor::~Decompressor() = default;

void Decompressor::clearHistory() {
    std::memset(window_, 0, spoiled_);
    spoiled_ = 0;
}

// The bit input supplies zero bits forever once the data ends. Such bits can
// decode as literals under some tables, so a stream that has used more bits
// than its input holds is stopped here, at every block end and window flush.
// A complete stream never reads past its own end.
void Decompressor::checkInput(const Bits& bits) const {
    if (consumed_ > bits.bytesRead() * 8) fail("error in compressed data in Decompressor");
}

uint32_t Decompressor::take(Bits& bits, unsigned n) {
    uint32_t value = static_cast<uint32_t>(bits.Bits::peek(n)) & ((1u << n) - 1);
    bits.Bits::skip(n);
    consumed_ += n;
    return value;
}

uint64_t Decompressor::process(stream::Input& in, stream::Output& out) {
    const uint64_t start = out.tell();
    // A stream that stops on an error may have written anywhere in the
    // window; one that ends filled it from the start, and the fast loop's
    // word-wide copies pass its last byte by less than fastRoom.
    const uint32_t spoiledBefore = spoiled_;
    spoiled_ = windowSize;
    position_ = 0;
    consumed_ = 0;
    Bits bits(in, readAhead_, sizeof readAhead_);
    while (inflateBlock(bits, out)) {
    }
    if (position_ != 0) out.write(reinterpret_cast<const char*>(window_), position_);
    out.flush();
    const uint64_t produced = out.tell() - start;
    const uint32_t reach = produced >= windowSize ? windowSize : std::min<uint32_t>(position_ + fastRoom, windowSize);
    spoiled_ = std::max(spoiledBefore, reach);
    return produced;
}

bool Decompressor::inflateBlock(Bits& bits, stream::Output& out) {
    const bool last = take(bits, 1) != 0;
    switch (take(bits, 2)) {
    case stored:
        inflateStored(bits, out);
        break;
    case fixed:
        inflateFixed(bits, out);
        break;
    case dynamic:
        inflateDynamic(bits, out);
        break;
    default:
        fail("bad block type in Decompressor");
    }
    checkInput(bits);
    return !last;
}

void Decompressor::inflateStored(Bits& bits, stream::Output& out) {
    consumed_ += bits.bitsHeld() & 7;
    bits.align();
    const int32_t length = bits.Bits::read(16);
    const int32_t complement = bits.Bits::read(16);
    if (length < 0 || complement < 0 || length != (~complement & 0xFFFF))
        fail("error in compressed data in Decompressor");
    consumed_ += 32;

    // The bytes already in the bit input and its read-ahead come first; the
    // rest are read from the input in blocks.
    unsigned pos = position_;
    uint32_t left = static_cast<uint32_t>(length);
    while (left != 0) {
        uint32_t room = windowSize - pos;
        if (room > left) room = left;
        const uint32_t n = bits.readBytes(window_ + pos, room);
        consumed_ += 8ull * n;
        if (n == 0) {
            position_ = static_cast<uint16_t>(pos);
            fail("error in compressed data in Decompressor");
        }
        left -= n;
        pos += n;
        if (pos == windowSize) {
            out.write(reinterpret_cast<const char*>(window_), windowSize);
            pos = 0;
        }
    }
    position_ = static_cast<uint16_t>(pos);
}

// The tables of the fixed codes never change: they are built once, on first
// use, and shared by every decompressor, so that the many small streams of an
// archive do not each build them again.
struct Decompressor::FixedTables {
    FixedTables() {
        int lengths[288];
        int i = 0;
        for (; i < 144; ++i) lengths[i] = 8;
        for (; i < 256; ++i) lengths[i] = 9;
        for (; i < 280; ++i) lengths[i] = 7;
        for (; i < 288; ++i) lengths[i] = 8;
        literals.bits = 7;
        zip::huft_build(lengths, 288, 257, cplens, cplext, &literals.table, &literals.bits);
        for (i = 0; i < 30; ++i) lengths[i] = 5;
        distances.bits = 5;
        zip::huft_build(lengths, 30, 0, cpdist, cpdext, &distances.table, &distances.bits);
    }
    zip::HuftHolder literals;
    zip::HuftHolder distances;
};

void Decompressor::inflateFixed(Bits& bits, stream::Output& out) {
    static const FixedTables fixed;
    inflateCodes(bits, out, fixed.literals.table, fixed.distances.table, fixed.literals.bits, fixed.distances.bits);
}

void Decompressor::inflateDynamic(Bits& bits, stream::Output& out) {
    const int nl = 257 + static_cast<int>(take(bits, 5));
    const int nd = 1 + static_cast<int>(take(bits, 5));
    const int nb = 4 + static_cast<int>(take(bits, 4));
    if (nl > 288 || nd > 32) fail("bad codeword lengths in Decompressor");

    int lengths[288 + 32];
    int j = 0;
    for (; j < nb; ++j) lengths[border[j]] = static_cast<int>(take(bits, 3));
    for (; j < 19; ++j) lengths[border[j]] = 0;

    Tables tables;
    {
        zip::HuftHolder codeLengths;
        codeLengths.bits = 7;
        zip::huft_build(lengths, 19, 19, nullptr, nullptr, &codeLengths.table, &codeLengths.bits);
        if (codeLengths.table == nullptr) fail("bad code in Decompressor");

        const int n = nl + nd;
        const unsigned width = static_cast<unsigned>(codeLengths.bits);
        int i = 0;
        int last = 0;
        while (i < n) {
            const huft* t = codeLengths.table + (static_cast<uint32_t>(bits.Bits::peek(width)) & mask[width]);
            if (t->e == 99) fail("bad code in Decompressor");
            bits.Bits::skip(t->b);
            consumed_ += t->b;
            const int symbol = t->v.n;
            if (symbol < 16) {
                lengths[i++] = last = symbol;
            } else if (symbol == 16) {
                int repeat = 3 + static_cast<int>(take(bits, 2));
                if (i + repeat > n) fail("bad data (1) in Decompressor");
                while (repeat-- != 0) lengths[i++] = last;
            } else if (symbol == 17) {
                int repeat = 3 + static_cast<int>(take(bits, 3));
                if (i + repeat > n) fail("bad data (2) in Decompressor");
                while (repeat-- != 0) lengths[i++] = 0;
                last = 0;
            } else {
                int repeat = 11 + static_cast<int>(take(bits, 7));
                if (i + repeat > n) fail("bad data (3) in Decompressor");
                while (repeat-- != 0) lengths[i++] = 0;
                last = 0;
            }
        }
    }

    tables.literals.bits = lbits;
    zip::huft_build(lengths, nl, 257, cplens, cplext, &tables.literals.table, &tables.literals.bits);
    tables.distances.bits = dbits;
    zip::huft_build(lengths + nl, nd, 0, cpdist, cpdext, &tables.distances.table, &tables.distances.bits);
    if (tables.literals.table == nullptr) fail("bad code in Decompressor");
    inflateCodes(bits, out, tables.literals.table, tables.distances.table, tables.literals.bits,
                 tables.distances.bits);
}

namespace {

// Eight input bytes, the first in the low bits.
uint64_t loadLittle64(const unsigned char* p) {
    if constexpr (std::endian::native == std::endian::little) {
        uint64_t v;
        std::memcpy(&v, p, 8);
        return v;
    } else {
        uint64_t v = 0;
        for (int i = 7; i >= 0; --i) v = v << 8 | p[i];
        return v;
    }
}

// Eight bytes moved as one word, in the host's order.
uint64_t load64(const unsigned char* p) {
    uint64_t v;
    std::memcpy(&v, p, 8);
    return v;
}
void store64(unsigned char* p, uint64_t v) { std::memcpy(p, &v, 8); }

// Copies a match of `length` bytes from `from` to `to`, forward, as if byte by
// byte, when the 8 bytes past either end of the copy are inside the window.
// It works in words and may write up to 7 bytes past the end; those bytes are
// history that a later match can still reach, so they are put back.
void copyMatch(unsigned char* to, const unsigned char* from, unsigned length) {
    const uint64_t saved = load64(to + length);
    unsigned char* const end = to + length;
    if (from + 8 <= to || from >= to) {
        // Each word is read before it is written, so a source ahead of the
        // destination, however close, is copied as it was.
        do {
            store64(to, load64(from));
            to += 8;
            from += 8;
        } while (to < end);
    } else if (from + 1 == to) {
        const uint64_t run = 0x0101010101010101ull * *from;
        do {
            store64(to, run);
            to += 8;
        } while (to < end);
    } else {
        // A pattern of 2 to 7 bytes: each word starts with one whole period
        // and the next starts right after it.
        const unsigned period = static_cast<unsigned>(to - from);
        do {
            store64(to, load64(from));
            to += period;
            from += period;
        } while (to < end);
    }
    store64(end, saved);
}

} // namespace

// The decoding loop. Literals go straight into the window; a match is copied
// in stretches that end where either the source or the destination reaches
// the end of the window, so that the byte loop needs no wrap test. Most of a
// block is decoded by inflateFast; this loop takes the symbols near the end of
// the window and of the read-ahead.
void Decompressor::inflateCodes(Bits& bits, stream::Output& out, const huft* literalTable, const huft* distanceTable,
                                int literalBits, int distanceBits) {
    const unsigned lb = static_cast<unsigned>(literalBits);
    const unsigned db = static_cast<unsigned>(distanceBits);
    const uint32_t ml = mask[lb];
    const uint32_t md = mask[db];
    unsigned char* const window = window_;
    unsigned pos = position_;
    uint64_t used = consumed_;

    // The loop decodes from a look of 24 bits at a time and gives the bits
    // that it decoded back to the bit input before the next look.
    uint32_t look = static_cast<uint32_t>(bits.Bits::peek(24));
    unsigned avail = 24;
    auto next = [&] {
        const unsigned done = 24 - avail;
        bits.Bits::skip(done);
        used += done;
        look = static_cast<uint32_t>(bits.Bits::peek(24));
        avail = 24;
    };
    auto drop = [&](unsigned n) {
        look >>= n;
        avail -= n;
    };
    auto flush = [&] {
        out.write(reinterpret_cast<const char*>(window), windowSize);
        pos = 0;
        consumed_ = used + (24 - avail);
        checkInput(bits);
    };
    auto badCode = [&] {
        position_ = static_cast<uint16_t>(pos);
        fail("bad code in Decompressor");
    };

    for (;;) {
        if (windowSize - pos >= fastRoom && bits.aheadEnd() - bits.aheadBegin() >= static_cast<ptrdiff_t>(fastInput)) {
            const unsigned done = 24 - avail;
            bits.Bits::skip(done);
            used += done;
            const bool ended = inflateFast(bits, literalTable, distanceTable, lb, db, pos, used);
            look = static_cast<uint32_t>(bits.Bits::peek(24));
            avail = 24;
            if (ended) break;
            continue;
        }
        if (avail < lb) next();
        const huft* t = literalTable + (look & ml);
        unsigned e = t->e;
        while (e > 16) {
            if (e == 99) badCode();
            drop(t->b);
            e -= 16;
            if (avail < e) next();
            t = t->v.t + (look & mask[e]);
            e = t->e;
        }
        drop(t->b);
        if (e == 16) {
            window[pos++] = static_cast<unsigned char>(t->v.n);
            if (pos == windowSize) flush();
            continue;
        }
        if (e == 15) break;

        if (avail < e) next();
        unsigned length = t->v.n + (look & mask[e]);
        drop(e);

        if (distanceTable == nullptr) badCode();
        if (avail < db) next();
        t = distanceTable + (look & md);
        e = t->e;
        while (e > 16) {
            if (e == 99) badCode();
            drop(t->b);
            e -= 16;
            if (avail < e) next();
            t = t->v.t + (look & mask[e]);
            e = t->e;
        }
        drop(t->b);
        if (avail < e) next();
        const unsigned distance = t->v.n + (look & mask[e]);
        drop(e);

        unsigned source = (pos - distance) & (windowSize - 1);
        do {
            unsigned stretch = windowSize - (source > pos ? source : pos);
            if (stretch > length) stretch = length;
            length -= stretch;
            unsigned char* to = window + pos;
            const unsigned char* from = window + source;
            pos += stretch;
            source += stretch;
            if (from + 8 <= to || from > to) {
                // The source is at least 8 bytes behind, or ahead: copy in
                // words, each read before it is written.
                while (stretch >= 8) {
                    std::memmove(to, from, 8);
                    to += 8;
                    from += 8;
                    stretch -= 8;
                }
                if (stretch >= 4) {
                    std::memmove(to, from, 4);
                    to += 4;
                    from += 4;
                    stretch -= 4;
                }
                if (stretch >= 2) {
                    std::memmove(to, from, 2);
                    to += 2;
                    from += 2;
                    stretch -= 2;
                }
                if (stretch != 0) *to = *from;
            } else if (from + 1 == to) {
                // A run of one byte.
                std::memset(to, *from, stretch);
            } else {
                // A short pattern close behind repeats byte by byte.
                while (stretch-- != 0) *to++ = *from++;
            }
            if (source == windowSize) source = 0;
            if (pos == windowSize) flush();
        } while (length != 0);
    }
    const unsigned done = 24 - avail;
    bits.Bits::skip(done);
    position_ = static_cast<uint16_t>(pos);
    consumed_ = used + done;
}

// The fast loop, over the bit input's read-ahead with a 64-bit bit buffer.
// Each turn starts with at least 56 bits, enough for the longest length and
// distance pair (48 bits), and its room tests are made once, at its top.
// Literals are taken up to three in a row before the buffer is topped up
// again. The loop never fills the window, so it never writes it out. It
// answers true at the end of the block and gives every bit it did not use
// back to the bit input.
bool Decompressor::inflateFast(Bits& bits, const huft* literalTable, const huft* distanceTable, unsigned literalBits,
                               unsigned distanceBits, unsigned& position, uint64_t& used) {
    const unsigned char* in = bits.aheadBegin();
    const unsigned char* const inStart = in;
    const unsigned char* const inLimit = bits.aheadEnd() - fastInput;
    const unsigned startCount = bits.heldCount();
    uint64_t buf = bits.heldValue();
    unsigned left = startCount;
    unsigned char* const window = window_;
    unsigned pos = position;
    const uint64_t ml = (uint64_t(1) << literalBits) - 1;
    const uint64_t md = (uint64_t(1) << distanceBits) - 1;
    bool ended = false;

    // Bits above `left` are zero or the bits of the next byte in, so a word
    // ored in over them agrees with them. Whole bytes are taken until 56 to
    // 63 bits are held.
    auto refill = [&] {
        buf |= loadLittle64(in) << left;
        in += (63 - left) >> 3;
        left |= 56;
    };
    auto drop = [&](unsigned n) {
        buf >>= n;
        left -= n;
    };
    auto low = [&](unsigned n) { return static_cast<unsigned>(buf & ((uint64_t(1) << n) - 1)); };
    auto badCode = [&] {
        position = pos;
        position_ = static_cast<uint16_t>(pos);
        fail("bad code in Decompressor");
    };

    while (in <= inLimit && pos <= windowSize - fastRoom) {
        refill();
        const huft* t = literalTable + (buf & ml);
        unsigned e = t->e;
        if (e == 16) {
            // A literal from the first level takes at most 9 bits, so three
            // in a row fit in what one refill gives.
            drop(t->b);
            window[pos++] = static_cast<unsigned char>(t->v.n);
            t = literalTable + (buf & ml);
            e = t->e;
            if (e == 16) {
                drop(t->b);
                window[pos++] = static_cast<unsigned char>(t->v.n);
                t = literalTable + (buf & ml);
                e = t->e;
                if (e == 16) {
                    drop(t->b);
                    window[pos++] = static_cast<unsigned char>(t->v.n);
                    continue;
                }
            }
            refill();
        }
        while (e > 16) {
            if (e == 99) badCode();
            drop(t->b);
            e -= 16;
            t = t->v.t + low(e);
            e = t->e;
        }
        drop(t->b);
        if (e == 16) {
            window[pos++] = static_cast<unsigned char>(t->v.n);
            continue;
        }
        if (e == 15) {
            ended = true;
            break;
        }
        const unsigned length = t->v.n + low(e);
        drop(e);

        if (distanceTable == nullptr) badCode();
        t = distanceTable + (buf & md);
        e = t->e;
        while (e > 16) {
            if (e == 99) badCode();
            drop(t->b);
            e -= 16;
            t = t->v.t + low(e);
            e = t->e;
        }
        drop(t->b);
        const unsigned distance = t->v.n + low(e);
        drop(e);

        unsigned char* const to = window + pos;
        if (distance <= pos) {
            copyMatch(to, to - distance, length);
        } else {
            // The source lies in the history at the far end of the window.
            const unsigned source = pos + windowSize - distance;
            if (source + length + 8 <= windowSize) {
                copyMatch(to, window + source, length);
            } else {
                const unsigned first = windowSize - source;
                if (first >= length) {
                    std::memmove(to, window + source, length);
                } else {
                    std::memmove(to, window + source, first);
                    // The rest starts at the window's first byte, behind
                    // the destination by the distance.
                    for (unsigned i = first; i < length; ++i) to[i] = window[i - first];
                }
            }
        }
        pos += length;
    }

    // Whole bytes not used go back to the read-ahead; the bits held at the
    // start came from before it, and stay bits.
    unsigned back = left >> 3;
    if (back > static_cast<unsigned>(in - inStart)) back = static_cast<unsigned>(in - inStart);
    in -= back;
    left -= 8 * back;
    used += 8ull * static_cast<uint64_t>(in - inStart) + startCount - left;
    bits.resume(in, static_cast<uint32_t>(buf & ((uint64_t(1) << left) - 1)), left);
    position = pos;
    return ended;
}

} // namespace algorithm::deflate
