#include <gtest/gtest.h>

#include <cstring>

#include "algorithm/algorithm.Exception.h"
#include "isp.Support.h"
#include "stream/check/crc.CRC.h"
#include "support/failure.h"

namespace {

using algorithm::isp::Data;
using namespace isptest;

// The preset tables are long strings copied by hand once; their checksums
// and the completeness of each code catch a slip in any character.
TEST(ISPPresets, TablesAreIntactAndComplete) {
    const uint32_t crcs[6][3] = {{0, 0, 0},
                                 {0x2274fecc, 0x3e960f14, 0x066e6e36},
                                 {0xfe6da406, 0x5e3681fe, 0xde3c7541},
                                 {0x7f766ab0, 0xe807fc4d, 0xe160a86c},
                                 {0x6fafeac9, 0xbf148a18, 0x343cc9d7},
                                 {0x6c0d4e36, 0x9f4788d8, 0x6a78dafd}};
    const int distanceSymbols[6] = {0, 11, 13, 14, 11, 11};
    for (int p = 1; p <= 5; ++p) {
        const Data::Preset& preset = Data::preset_array[p];
        EXPECT_EQ(preset.distanceSymbols, distanceSymbols[p]);
        for (int t = 0; t < 3; ++t) {
            const int n = t < 2 ? 321 : preset.distanceSymbols;
            ASSERT_EQ(std::strlen(preset.lengths[t]), size_t(n)) << p << "/" << t;
            algorithm::crc::EthernetCRC crc;
            crc.begin();
            crc.update(preset.lengths[t], uint32_t(n));
            EXPECT_EQ(~crc.value(), crcs[p][t]) << p << "/" << t;
            uint64_t kraft = 0;  // in units of 2^-18
            for (int l : presetLengths(preset.lengths[t], n)) kraft += uint64_t(1) << (18 - l);
            EXPECT_EQ(kraft, uint64_t(1) << 18) << p << "/" << t;
        }
    }
    EXPECT_EQ(Data::preset_array[1].largestSize, 1023u);
    EXPECT_EQ(Data::preset_array[2].largestSize, 3071u);
    EXPECT_EQ(Data::preset_array[3].largestSize, 5119u);
}

// A stream in each preset: literals (one of them 0xFF), matches at once after
// matches, a match of symbol 318 and one of 319, a copy across the window's
// end, and a distance that reaches back across the window's start.
class ISPPresetStream : public ::testing::TestWithParam<int> {};

TEST_P(ISPPresetStream, Decodes) {
    const Data::Preset& p = Data::preset_array[GetParam()];
    const auto literals = canonical(presetLengths(p.lengths[0], 321));
    const auto pointers = canonical(presetLengths(p.lengths[1], 321));
    const auto distances = canonical(presetLengths(p.lengths[2], p.distanceSymbols));
    const std::vector<Token> tokens = {lit('I'), lit('S'), lit('P'), match(3, 3), match(4, 2), lit(0xFF),
                                       lit(0), match(70, 1), match(32832, 5), match(32000, 7), lit('x'),
                                       match(20, 1000), match(10, 1)};
    Builder b;
    b.header(10 + (GetParam() % 8), GetParam() % 2 == 0, GetParam());  // both fields are ignored with a preset
    b.tokens(tokens, literals, pointers, distances);
    const std::string expected = expandTokens(tokens);
    ASSERT_GT(expected.size(), 64000u);
    EXPECT_EQ(expand(b.finish()), expected);
}

INSTANTIATE_TEST_SUITE_P(AllPresets, ISPPresetStream, ::testing::Range(1, 6));

// Streams with tables: a list of lengths made of each code value. Symbols
// past the given ones are unused, symbol 320 takes `end`. The pointer table
// is the literal table (the same-tables bit); the distance table has two
// codes of one bit.
struct ListCase {
    const char* name;
    std::vector<std::vector<int>> values;  // code value, then its extra bits
    std::vector<int> expected;             // lengths of the first symbols
    int end;
};

class ISPLengthList : public ::testing::TestWithParam<ListCase> {};

TEST_P(ISPLengthList, DecodesItsSymbols) {
    const ListCase& c = GetParam();
    Builder b;
    b.header(10, true, 0);
    for (const auto& v : c.values) {
        b.prefix(v[0]);
        if (v[0] == 34) b.put(uint32_t(v[1]), 1);
        if (v[0] == 35) b.put(uint32_t(v[1]), 3);
        if (v[0] == 36) b.put(uint32_t(v[1]), 6);
    }
    for (size_t s = c.expected.size(); s < 320; ++s) b.prefix(31);
    b.lengths({c.end});
    b.lengths({1, 1, -1, -1, -1, -1, -1, -1, -1, -1});

    std::vector<int> lengths(321, -1);
    std::copy(c.expected.begin(), c.expected.end(), lengths.begin());
    lengths[320] = c.end;
    const auto codes = canonical(lengths);
    std::vector<Token> tokens;
    for (size_t s = 0; s < c.expected.size(); ++s)
        if (c.expected[s] > 0) tokens.push_back(lit(uint8_t(s)));
    b.tokens(tokens, codes, codes, canonical({1, 1}));
    EXPECT_EQ(expand(b.finish()), expandTokens(tokens));
}

std::vector<ListCase> listCases() {
    std::vector<ListCase> cases;
    static std::vector<std::string> names;
    names.reserve(40);
    for (int v = 0; v <= 30; ++v) {
        names.push_back("length" + std::to_string(v + 1));
        cases.push_back({names.back().c_str(), {{v}, {31}}, {v + 1, -1}, v + 1});
    }
    cases.push_back({"previousPlusOne", {{4}, {32}}, {5, 6}, 6});
    cases.push_back({"previousMinusOne", {{4}, {33}}, {5, 4}, 5});
    cases.push_back({"minusOneFromStart", {{33}, {4}}, {-1, 5}, 5});
    cases.push_back({"oneCopy", {{4}, {34, 0}, {31}}, {5, 5, -1}, 5});
    cases.push_back({"twoCopies", {{4}, {34, 1}}, {5, 5, 5}, 5});
    cases.push_back({"threeCopies", {{5}, {35, 0}}, {6, 6, 6, 6}, 6});
    cases.push_back({"tenCopies", {{6}, {35, 7}}, std::vector<int>(11, 7), 7});
    cases.push_back({"elevenCopies", {{7}, {36, 0}}, std::vector<int>(12, 8), 8});
    cases.push_back({"seventyFourCopies", {{8}, {36, 63}}, std::vector<int>(75, 9), 9});
    std::vector<int> unused(75, -1);
    unused.push_back(3);
    cases.push_back({"copiesOfUnused", {{31}, {36, 63}, {2}}, unused, 3});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(CodeValues, ISPLengthList, ::testing::ValuesIn(listCases()),
                         [](const auto& info) { return std::string(info.param.name); });

// Damage that the stream format itself cannot rule out.
struct BadCase {
    const char* name;
    std::vector<char> stream;
    const char* message;
};

class ISPBadStream : public ::testing::TestWithParam<BadCase> {};

TEST_P(ISPBadStream, ThrowsItsMessage) {
    EXPECT_EQ(test::failureOf([] { expand(GetParam().stream); }), std::string("algorithm: ") + GetParam().message);
}

std::vector<BadCase> badCases() {
    std::vector<BadCase> cases;
    {
        Builder b;
        b.header(10, false, 6);
        cases.push_back({"preset6", b.finish(), "unknown preset 6 in algorithm::isp::Decompressor::process()"});
    }
    {
        Builder b;
        b.header(10, false, 15);
        cases.push_back({"preset15", b.finish(), "unknown preset 15 in algorithm::isp::Decompressor::process()"});
    }
    {
        Builder b;  // 1 + 4 x 74 entries fit, the fifth run does not
        b.header(10, false, 0);
        b.prefix(3);
        for (int i = 0; i < 5; ++i) {
            b.prefix(36);
            b.put(63, 6);
        }
        cases.push_back({"listOverrunsTable", b.finish(),
                         "list of code lengths overruns its table in algorithm::isp::Decompressor::makeDehuff()"});
    }
    {
        Builder b;  // lengths 31, 32, ... 127: each long code takes a path of its own
        b.header(10, true, 0);
        b.prefix(30);
        for (int i = 0; i < 96; ++i) b.prefix(32);
        for (int i = 97; i < 321; ++i) b.prefix(31);
        cases.push_back({"treeOverflows", b.finish(),
                         "code tree needs more than 1796 nodes in algorithm::isp::Decompressor::populate_harray()"});
    }
    {
        Builder b;  // a length of 0 puts the next code off its table
        b.header(10, true, 0);
        b.prefix(33);
        b.prefix(32);
        b.prefix(32);
        b.prefix(32);
        for (int i = 4; i < 321; ++i) b.prefix(31);
        cases.push_back({"lengthZero", b.finish(),
                         "code lengths do not form a code in algorithm::isp::Decompressor::populate_harray()"});
    }
    {
        Builder b;  // only symbol 320 has a code: any other pattern is no code
        b.header(10, true, 0);
        for (int i = 0; i < 320; ++i) b.prefix(31);
        b.prefix(0);
        b.lengths({1, 1, -1, -1, -1, -1, -1, -1, -1, -1});
        b.put(1, 1);
        cases.push_back({"noSuchCode", b.finish(), "invalid code in algorithm::isp::Decompressor::loop()"});
    }
    cases.push_back({"empty", {}, "input ends before the end of the stream in algorithm::isp::Decompressor::process()"});
    {
        Builder b;
        b.header(10, false, 5);
        b.code(canonical(presetLengths(Data::preset_array[5].lengths[0], 321))['a']);
        cases.push_back({"noEndCode", b.finish(),
                         "input ends before the end of the stream in algorithm::isp::Decompressor::loop()"});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Damage, ISPBadStream, ::testing::ValuesIn(badCases()),
                         [](const auto& info) { return std::string(info.param.name); });

// A distance beyond the 64000 bytes of the window has no source.
TEST(ISPDecompressor, DistanceBeyondWindowThrows) {
    std::vector<int> lengths(321, -1);
    lengths['a'] = 2;
    lengths[256] = 2;  // a match of 3
    lengths[320] = 1;
    std::vector<int> distanceLengths(17, -1);
    distanceLengths[0] = 1;
    distanceLengths[16] = 1;
    Builder b;
    b.header(17, true, 0);
    b.lengths(lengths);
    b.lengths(distanceLengths);
    b.tokens({lit('a'), match(3, 65000)}, canonical(lengths), canonical(lengths), canonical(distanceLengths));
    EXPECT_EQ(test::failureOf([&] { expand(b.finish()); }),
              "algorithm: distance beyond the window in algorithm::isp::Decompressor::loop()");
}

// One object serves many streams; the tables are rebuilt for each.
TEST(ISPDecompressor, ServesManyStreams) {
    algorithm::isp::Decompressor d;
    for (int preset = 1; preset <= 5; ++preset) {
        const Data::Preset& p = Data::preset_array[preset];
        Builder b;
        b.header(10, false, preset);
        const std::vector<Token> tokens = {lit('a'), lit('b'), match(5, 2), lit(uint8_t(preset))};
        b.tokens(tokens, canonical(presetLengths(p.lengths[0], 321)), canonical(presetLengths(p.lengths[1], 321)),
                 canonical(presetLengths(p.lengths[2], p.distanceSymbols)));
        const auto packed = b.finish();
        std::vector<char> plain;
        stream::ArrayInput in(packed.data(), uint32_t(packed.size()));
        stream::VectorOutput out(plain);
        EXPECT_EQ(d.process(in, out), expandTokens(tokens).size());
        EXPECT_EQ(std::string(plain.begin(), plain.end()), expandTokens(tokens));
    }
}

} // namespace
