// UTF-8 names and Mac OS Roman names as the native archives store them.
#include <gtest/gtest.h>

#include <string>

#include "algorithm/unicode.MacRoman.h"
#include "algorithm/unicode.UTF8Coder.h"

namespace {

using algorithm::unicode::MacRoman;
using algorithm::unicode::UTF8Coder;
using Wide = std::basic_string<unsigned short>;

struct DecodeCase {
    const char* label;
    std::string utf8;
    Wide wide;
};

class UTF8Decode : public ::testing::TestWithParam<DecodeCase> {};

TEST_P(UTF8Decode, GivesUTF16) { EXPECT_EQ(UTF8Coder::decode(GetParam().utf8), GetParam().wide); }

INSTANTIATE_TEST_SUITE_P(
    All, UTF8Decode,
    ::testing::Values(DecodeCase{"Ascii", "name.txt", Wide{'n', 'a', 'm', 'e', '.', 't', 'x', 't'}},
                      DecodeCase{"TwoBytes", "\xC3\xA9", Wide{0xE9}},
                      DecodeCase{"ThreeBytes", "\xE2\x82\xAC", Wide{0x20AC}},
                      DecodeCase{"FourBytesMakeAPair", "\xF0\x9F\x98\x80", Wide{0xD83D, 0xDE00}},
                      DecodeCase{"StrayContinuation", "a\x80" "b", Wide{'a', 0xFFFD, 'b'}},
                      DecodeCase{"Overlong", "\xC0\xAF", Wide{0xFFFD, 0xFFFD}},
                      DecodeCase{"EncodedSurrogate", "\xED\xA0\x80", Wide{0xFFFD, 0xFFFD, 0xFFFD}},
                      DecodeCase{"CutOffTail", "x\xE2\x82", Wide{'x', 0xFFFD, 0xFFFD}},
                      DecodeCase{"AboveUnicode", "\xF4\x90\x80\x80", Wide{0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}}),
    [](const auto& info) { return std::string(info.param.label); });

TEST(UTF8Coder, EncodeIsTheInverseOfDecodeOnWellFormedText) {
    for (const std::string text : {"", "plain", "Gr\xC3\xBC\xC3\x9F" "e", "\xE2\x82\xAC 5", "\xF0\x9F\x98\x80!"})
        EXPECT_EQ(UTF8Coder::encode(UTF8Coder::decode(text)), text);
    EXPECT_EQ(UTF8Coder::encode(Wide{0xDC00, 'a'}), "\xEF\xBF\xBD" "a");
}

TEST(MacRoman, MapsTheUpperHalfAndKeepsAscii) {
    EXPECT_EQ(MacRoman::toUnicode('A'), 'A');
    EXPECT_EQ(MacRoman::toUnicode(0x80), 0x00C4);
    EXPECT_EQ(MacRoman::toUnicode(0x8E), 0x00E9);
    EXPECT_EQ(MacRoman::toUnicode(0xA5), 0x2022);
    EXPECT_EQ(MacRoman::toUnicode(0xCA), 0x00A0);
    EXPECT_EQ(MacRoman::toUnicode(0xDB), 0x20AC);
    EXPECT_EQ(MacRoman::toUnicode(0xF0), 0xF8FF);
    EXPECT_EQ(MacRoman::toUnicode(0xFF), 0x02C7);
    EXPECT_EQ(MacRoman::toUTF8("Caf\x8E"), "Caf\xC3\xA9");
}

TEST(MacRoman, EveryByteHasItsOwnCharacter) {
    Wide seen;
    for (int c = 0; c < 256; ++c) seen.push_back(MacRoman::toUnicode(static_cast<unsigned char>(c)));
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(std::adjacent_find(seen.begin(), seen.end()), seen.end());
}

} // namespace
