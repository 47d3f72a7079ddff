#include "algorithm/deflate/deflate.Decompressor.h"

#include <gtest/gtest.h>
#ifdef CRATEWERK_HAVE_ZLIB
#include <zlib.h>
#endif

#include <random>
#include <string>
#include <vector>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/zip/zip.huft.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"
#include "support/failure.h"
#include "support/damage.h"
#include "support/streams.h"

namespace {

using algorithm::deflate::Decompressor;

#ifdef CRATEWERK_HAVE_ZLIB
// Raw Deflate from zlib at the given level and strategy.
std::vector<char> deflateRaw(const std::vector<char>& data, int level, int strategy = Z_DEFAULT_STRATEGY) {
    z_stream z{};
    EXPECT_EQ(deflateInit2(&z, level, Z_DEFLATED, -15, 8, strategy), Z_OK);
    std::vector<char> out(deflateBound(&z, static_cast<uLong>(data.size())) + 16);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}
#endif

std::vector<char> inflate(Decompressor& d, const std::vector<char>& packed) {
    std::vector<char> result;
    stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
    stream::VectorOutput out(result);
    uint64_t written = d.process(in, out);
    EXPECT_EQ(written, result.size());
    return result;
}

std::vector<char> inflate(const std::vector<char>& packed) {
    Decompressor d;
    return inflate(d, packed);
}

#ifdef CRATEWERK_HAVE_ZLIB
// Text-like data with long repeats, short repeats and noise.
std::vector<char> sample(size_t size, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<char> data;
    const std::string words[] = {"archive ", "stream ", "window ", "the ", "of ", "Huffman ", "\n", "0123456789 "};
    while (data.size() < size) {
        unsigned r = rng() % 16;
        if (r < 10) {
            const std::string& w = words[rng() % 8];
            data.insert(data.end(), w.begin(), w.end());
        } else if (r < 12 && data.size() > 40000) {
            size_t from = data.size() - 30000 - rng() % 2000;
            for (size_t i = 0; i < 300 && data.size() < size; ++i) data.push_back(data[from + i]);
        } else {
            data.push_back(static_cast<char>(rng()));
        }
    }
    data.resize(size);
    return data;
}

struct Case {
    const char* name;
    size_t size;
    int level;
    int strategy;
};

class InflateZlib : public ::testing::TestWithParam<Case> {};

TEST_P(InflateZlib, ExpandsWhatZlibCompressed) {
    const Case& c = GetParam();
    std::vector<char> data = sample(c.size, static_cast<unsigned>(c.size + c.level));
    std::vector<char> packed = deflateRaw(data, c.level, c.strategy);
    EXPECT_EQ(inflate(packed), data);
}

INSTANTIATE_TEST_SUITE_P(
    Levels, InflateZlib,
    ::testing::Values(Case{"empty0", 0, 0, Z_DEFAULT_STRATEGY}, Case{"empty6", 0, 6, Z_DEFAULT_STRATEGY},
                      Case{"one", 1, 6, Z_DEFAULT_STRATEGY}, Case{"small1", 1000, 1, Z_DEFAULT_STRATEGY},
                      Case{"stored40k", 40000, 0, Z_DEFAULT_STRATEGY}, Case{"stored200k", 200000, 0, Z_DEFAULT_STRATEGY},
                      Case{"fixed", 70000, 6, Z_FIXED}, Case{"huffmanOnly", 70000, 6, Z_HUFFMAN_ONLY},
                      Case{"rle", 70000, 6, Z_RLE}, Case{"level1", 100000, 1, Z_DEFAULT_STRATEGY},
                      Case{"level6", 300000, 6, Z_DEFAULT_STRATEGY}, Case{"level9", 300000, 9, Z_DEFAULT_STRATEGY},
                      Case{"exact32k", 32768, 6, Z_DEFAULT_STRATEGY}, Case{"exact64k", 65536, 9, Z_DEFAULT_STRATEGY}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Inflate, ShortPeriodsAndFarHistoryCopyExactly) {
    // Repeats of every period from 1 to 9, at every length, and matches that
    // reach back across the window's end into the history of the stream
    // before: its last 32768 bytes act as a preset dictionary for the next.
    // The second stream starts as that history with short repeats laid over it.
    std::mt19937 rng(21);
    std::vector<char> first(65536);
    for (char& c : first) c = static_cast<char>(rng());
    std::vector<char> second(first.begin() + 32768, first.end());
    auto repeat = [&](size_t at) {
        const unsigned period = 1 + rng() % 9;
        const size_t length = 3 + rng() % 300;
        if (second.size() < at + period + length) second.resize(at + period + length);
        for (unsigned i = 0; i < period; ++i) second[at + i] = static_cast<char>(rng());
        for (size_t i = at + period; i < at + period + length; ++i) second[i] = second[i - period];
        return period + length;
    };
    for (size_t at = 0; at + 400 < second.size(); at += 400 + rng() % 200) repeat(at);
    while (second.size() < 200000) repeat(second.size());
    z_stream z{};
    ASSERT_EQ(deflateInit2(&z, 9, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY), Z_OK);
    ASSERT_EQ(deflateSetDictionary(&z, reinterpret_cast<const Bytef*>(first.data()) + 32768, 32768), Z_OK);
    std::vector<char> packed(deflateBound(&z, static_cast<uLong>(second.size())));
    z.next_in = reinterpret_cast<Bytef*>(second.data());
    z.avail_in = static_cast<uInt>(second.size());
    z.next_out = reinterpret_cast<Bytef*>(packed.data());
    z.avail_out = static_cast<uInt>(packed.size());
    ASSERT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
    packed.resize(z.total_out);
    deflateEnd(&z);

    Decompressor d;
    ASSERT_EQ(inflate(d, deflateRaw(first, 0)), first);
    EXPECT_EQ(inflate(d, packed), second);
}

#endif

// Builds a raw stream bit by bit, least significant bit first.
class BitWriter {
public:
    void put(uint32_t value, unsigned n) {
        for (unsigned i = 0; i < n; ++i) {
            if (count_ % 8 == 0) bytes_.push_back(0);
            if ((value >> i) & 1) bytes_.back() = static_cast<char>(bytes_.back() | (1 << (count_ % 8)));
            ++count_;
        }
    }
    // A Huffman code goes most significant bit first.
    void code(uint32_t value, unsigned n) {
        for (unsigned i = n; i-- > 0;) put((value >> i) & 1, 1);
    }
    void align() {
        while (count_ % 8) put(0, 1);
    }
    std::vector<char> bytes() const { return bytes_; }

private:
    std::vector<char> bytes_;
    unsigned count_ = 0;
};

TEST(Inflate, ZeroLengthStoredBlockOnlyAligns) {
    BitWriter w;
    w.put(0, 1);  // not last
    w.put(0, 2);  // stored
    w.align();
    w.put(0, 16);
    w.put(0xFFFF, 16);
    w.put(1, 1);  // last, fixed
    w.put(1, 2);
    w.code(0x30 + 'z', 8);
    w.code(0, 7); // end
    EXPECT_EQ(inflate(w.bytes()), std::vector<char>{'z'});
}

TEST(Inflate, DistanceBeforeTheFirstByteReadsTheWindow) {
    // A fresh window holds zero bytes: a match at distance 5 with no history
    // copies them.
    BitWriter w;
    w.put(1, 1);
    w.put(1, 2);
    w.code(0x30 + 'x', 8);
    w.code(1, 7);    // length 3 (symbol 257)
    w.code(4, 5);    // distance code 4: 5 to 6, one extra bit
    w.put(0, 1);     // distance 5
    w.code(0, 7);
    EXPECT_EQ(inflate(w.bytes()), (std::vector<char>{'x', 0, 0, 0}));
}

TEST(Inflate, ClearedHistoryReadsAsAFreshWindow) {
    // A literal and a match 1,000 bytes back, before the stream's start.
    BitWriter reach;
    reach.put(1, 1);
    reach.put(1, 2);
    reach.code(0x30 + 'x', 8);
    reach.code(1, 7);   // length 3
    reach.code(19, 5);  // distances 769 to 1024, eight extra bits
    reach.put(1000 - 769, 8);
    reach.code(0, 7);
    const std::vector<char> fresh{'x', 0, 0, 0};

    // An earlier stream that filled the window to just short of its end, and
    // one that wrapped round it: the far end holds their bytes until the
    // history is cleared, and no more than the window is cleared.
    for (uint32_t size : {32000u, 40000u}) {
        BitWriter earlier;
        earlier.put(1, 1);
        earlier.put(0, 2);
        earlier.align();
        earlier.put(size, 16);
        earlier.put(~size & 0xFFFF, 16);
        for (uint32_t i = 0; i < size; ++i) earlier.put('a' + i % 26, 8);
        Decompressor d;
        EXPECT_EQ(inflate(d, earlier.bytes()).size(), size);
        EXPECT_NE(inflate(d, reach.bytes()), fresh) << size;
        d.clearHistory();
        EXPECT_EQ(inflate(d, reach.bytes()), fresh) << size;
    }
}

TEST(Inflate, MatchAtTheFullDistanceReadsTheWindowAsItWas) {
    // A distance of 32768 reads the bytes that the window held before they
    // are written: here the zeros of a fresh window, just past a run. Enough
    // literals stand on either side for the decoder's fast loop to take it.
    BitWriter w;
    w.put(1, 1);
    w.put(1, 2);
    std::vector<char> expected;
    for (int i = 0; i < 40; ++i) {
        w.code(0x30 + 'a' + i % 26, 8);
        expected.push_back(static_cast<char>('a' + i % 26));
    }
    w.code(0x30 + 'x', 8);
    w.code(8, 7);   // length 10 (symbol 264)
    w.code(0, 5);   // distance 1
    w.code(13, 7);  // length 19 + 1 (symbol 269)
    w.put(1, 2);
    w.code(29, 5);  // distance 24577 + 8191
    w.put(8191, 13);
    expected.insert(expected.end(), 11, 'x');
    expected.insert(expected.end(), 20, 0);
    for (int i = 0; i < 40; ++i) {
        w.code(0x30 + 'a' + i % 26, 8);
        expected.push_back(static_cast<char>('a' + i % 26));
    }
    w.code(0, 7);
    EXPECT_EQ(inflate(w.bytes()), expected);
}

struct Bad {
    const char* name;
    std::vector<char> stream;
    const char* message;
};

std::vector<char> withBits(std::initializer_list<std::pair<uint32_t, unsigned>> fields) {
    BitWriter w;
    for (auto [v, n] : fields) w.put(v, n);
    return w.bytes();
}

// A dynamic block header for 257 literal codes and 1 distance code whose
// code-length code gives 2 bits to 0, 16, 17 and 18, followed by the given
// code-length symbols with their repeat fields.
std::vector<char> lengthsThen(std::initializer_list<std::pair<int, uint32_t>> symbols) {
    BitWriter w;
    w.put(1, 1);
    w.put(2, 2);
    w.put(0, 5);
    w.put(0, 5);
    w.put(0, 4);
    for (int i = 0; i < 4; ++i) w.put(2, 3);
    for (auto [symbol, extra] : symbols) {
        switch (symbol) {
        case 0: w.code(0, 2); break;
        case 16: w.code(1, 2); w.put(extra, 2); break;
        case 17: w.code(2, 2); w.put(extra, 3); break;
        case 18: w.code(3, 2); w.put(extra, 7); break;
        }
    }
    return w.bytes();
}

class InflateBad : public ::testing::TestWithParam<Bad> {};

TEST_P(InflateBad, ThrowsItsMessage) {
    EXPECT_EQ(test::failureOf([] { inflate(GetParam().stream); }), std::string("algorithm: ") + GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Messages, InflateBad,
    ::testing::Values(
        Bad{"blockType3", withBits({{1, 1}, {3, 2}}), "bad block type in Decompressor"},
        Bad{"storedComplement", withBits({{1, 1}, {0, 2}, {0, 5}, {5, 16}, {5, 16}}),
            "error in compressed data in Decompressor"},
        Bad{"storedTruncated", withBits({{1, 1}, {0, 2}, {0, 5}, {5, 16}, {0xFFFA, 16}, {'a', 8}}),
            "error in compressed data in Decompressor"},
        Bad{"repeat16", lengthsThen({{18, 127}, {18, 106}, {0, 0}, {16, 3}}), "bad data (1) in Decompressor"},
        Bad{"repeat17", lengthsThen({{18, 127}, {18, 106}, {17, 7}}), "bad data (2) in Decompressor"},
        Bad{"repeat18", lengthsThen({{18, 127}, {18, 127}}), "bad data (3) in Decompressor"},
        Bad{"oversubscribed", withBits({{1, 1}, {2, 2}, {0, 5}, {0, 5}, {0, 4}, {1, 3}, {1, 3}, {1, 3}, {1, 3}}),
            "algorithm::zip::huft_build(): short input"},
        Bad{"fixedSymbol286", [] {
                BitWriter w;
                w.put(1, 1);
                w.put(1, 2);
                w.code(0xC6, 8);
                return w.bytes();
            }(),
            "bad code in Decompressor"},
        Bad{"fixedDistance30", [] {
                BitWriter w;
                w.put(1, 1);
                w.put(1, 2);
                w.code(0x30 + 'a', 8);
                w.code(1, 7);
                w.code(30, 5);
                return w.bytes();
            }(),
            "bad code in Decompressor"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(HuftBuild, TablesAndFailures) {
    using algorithm::zip::huft;
    huft* table = nullptr;
    int bits = 7;
    int zeros[19] = {};
    algorithm::zip::huft_build(zeros, 19, 19, nullptr, nullptr, &table, &bits);
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(bits, 0);

    // Lengths 1, 2, 3, 3: complete; the width is clamped to the longest, 3.
    int lengths[4] = {1, 2, 3, 3};
    bits = 9;
    algorithm::zip::huft_build(lengths, 4, 4, nullptr, nullptr, &table, &bits);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(bits, 3);
    // Code 0 (symbol 0) is the low bit 0: every even index.
    for (int i = 0; i < 8; i += 2) EXPECT_EQ(table[i].v.n, 0);
    EXPECT_EQ(table[1].v.n, 1);
    EXPECT_EQ(table[3].v.n, 2);
    EXPECT_EQ(table[7].v.n, 3);
    EXPECT_EQ(table[7].b, 3);
    algorithm::zip::huft_free(table);

    // Incomplete: one code of length 2 leaves positions invalid.
    int one[2] = {2, 0};
    bits = 2;
    algorithm::zip::huft_build(one, 2, 2, nullptr, nullptr, &table, &bits);
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table[0].e, 16);
    EXPECT_EQ(table[1].e, 99);
    algorithm::zip::huft_free(table);

    int over[3] = {1, 1, 1};
    bits = 1;
    EXPECT_EQ(test::failureOf([&] { algorithm::zip::huft_build(over, 3, 3, nullptr, nullptr, &table, &bits); }),
              "algorithm: algorithm::zip::huft_build(): short input");
    int overShort[4] = {1, 1, 1, 2};
    EXPECT_EQ(test::failureOf([&] { algorithm::zip::huft_build(overShort, 4, 4, nullptr, nullptr, &table, &bits); }),
              "algorithm: algorithm::zip::huft_build(): bad input, more codes than bits");
}

#ifdef CRATEWERK_HAVE_ZLIB
// Hostile input: every truncation and thousands of flipped bytes end in output
// or in an algorithm::Exception, with output bounded by the window's flushes.
TEST(InflateHostile, EveryTruncationEndsCleanly) {
    Decompressor d;
    for (int level : {0, 1, 6}) {
        std::vector<char> data = sample(1500, 7);
        std::vector<char> packed = deflateRaw(data, level);
        for (size_t cut = 0; cut < packed.size(); ++cut) {
            stream::ArrayInput in(packed.data(), static_cast<uint32_t>(cut));
            test::BoundedOutput out;
            EXPECT_THROW(d.process(in, out), algorithm::Exception) << level << " " << cut;
        }
    }
}

TEST(InflateHostile, RandomFlipsEndInOutputOrException) {
    std::vector<char> data = sample(4000, 11);
    const std::vector<char> streams[] = {deflateRaw(data, 6), deflateRaw(data, 1), deflateRaw(data, 6, Z_FIXED)};
    std::mt19937 rng(20261121);
    Decompressor d;
    int failures = 0;
    for (int round = 0; round < test::damageRounds(3000); ++round) {
        const std::vector<char> packed = test::flipped(streams[round % 3], rng, 4);
        stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
        test::BoundedOutput out;
        try {
            d.process(in, out);
        } catch (const algorithm::Exception&) {
            ++failures;
        }
    }
    EXPECT_GT(failures, 0);
}
#endif

TEST(InflateHostile, ZeroBitsForeverAreStopped) {
    // A dynamic block whose literal code gives the all-zero code to a literal
    // would decode the endless zero bits past the end as output.
    BitWriter w;
    w.put(1, 1);
    w.put(2, 2);
    w.put(0, 5);  // 257 literal/length codes
    w.put(0, 5);  // 1 distance code
    w.put(14, 4); // 18 code-length codes: up to symbol 1 in the order
    // Order 16 17 18 0 8 7 9 6 10 5 11 4 12 3 13 2 14 1: give 18 and 1 two bits, 0 two bits.
    const int order[18] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1};
    for (int s : order) w.put((s == 18 || s == 1 || s == 0) ? 2 : 0, 3);
    // Canonical codes: 0 -> 00, 1 -> 01, 18 -> 10.
    w.code(1, 2); // literal 0 gets length 1
    w.code(2, 2); w.put(127, 7); // 138 zeros (1..138)
    w.code(2, 2); w.put(106, 7); // 117 zeros (139..255)
    w.code(1, 2); // 256 gets length 1
    w.code(0, 2); // the one distance code: length 0
    // No symbol follows: the zero bits decode as literal 0 forever.
    test::BoundedOutput out;
    std::vector<char> packed = w.bytes();
    stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
    Decompressor d;
    EXPECT_EQ(test::failureOf([&] { d.process(in, out); }), "algorithm: error in compressed data in Decompressor");
    EXPECT_LE(out.tell(), 32768u);
}

} // namespace
