#include "algorithm/unicode.CP437.h"

#include <gtest/gtest.h>

namespace {

using algorithm::unicode::CP437;

struct Name {
    const char* stored;
    const char* utf8;
};

class CP437Names : public ::testing::TestWithParam<Name> {};

TEST_P(CP437Names, BecomeUTF8) {
    EXPECT_EQ(CP437::toUTF8(GetParam().stored), GetParam().utf8);
#ifndef _WIN32
    // The engine's 8-bit form is UTF-8 on POSIX.
    EXPECT_EQ(CP437::toLocal(GetParam().stored), GetParam().utf8);
#endif
}

// Names as WinZip and DOS archivers store them without the UTF-8 flag.
INSTANTIATE_TEST_SUITE_P(Names, CP437Names,
                         ::testing::Values(Name{"ascii.txt", "ascii.txt"},
                                           Name{"\x99lf\x84sser.txt", "\xC3\x96lf\xC3\xA4sser.txt"},
                                           Name{"\x80_for_Dollar.txt", "\xC3\x87_for_Dollar.txt"},
                                           Name{"\xC9\xCD\xBB", "\xE2\x95\x94\xE2\x95\x90\xE2\x95\x97"},
                                           Name{"\xE1\xFF", "\xC3\x9F\xC2\xA0"}, Name{"", ""}));

TEST(CP437, UnicodeOfEveryUpperByteIsDistinctAndNotASCII) {
    std::basic_string<unsigned short> all = CP437::decode(std::string("\x80\x9E\xB0\xFE"));
    EXPECT_EQ(all, (std::basic_string<unsigned short>{0x00C7, 0x20A7, 0x2591, 0x25A0}));
    for (int i = 0x80; i < 0x100; ++i) {
        EXPECT_GE(CP437::toUnicode(static_cast<unsigned char>(i)), 0xA0) << i;
        for (int j = 0x80; j < i; ++j)
            EXPECT_NE(CP437::toUnicode(static_cast<unsigned char>(i)), CP437::toUnicode(static_cast<unsigned char>(j)));
    }
}

} // namespace
