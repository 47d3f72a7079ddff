#include <gtest/gtest.h>

#include <cstring>

#include "un/un.exception.h"
#include "un/un.invert.h"
#include "un/un.tokenizer.h"

namespace {

TEST(Tokenizer, SplitsAtAnySeparatorWithoutEmptyTokens) {
    EXPECT_EQ((std::vector<std::string>{"a", "b", "c"}), un::tokenizer("\\a\\\\b/c\\", "\\/").all());
    EXPECT_TRUE(un::tokenizer("\\\\", "\\").all().empty());
}

TEST(Bytes, InvertAndLeastSignificantFirst) {
    EXPECT_EQ(0x78563412u, un::invert<uint32_t>(0x12345678u));
    uint32_t words[2] = {0x04030201u, 0xA0B0C0D0u};
    unsigned char bytes[8];
    un::to_lsb(bytes, words, 2);
    const unsigned char expected[8] = {1, 2, 3, 4, 0xD0, 0xC0, 0xB0, 0xA0};
    EXPECT_EQ(0, std::memcmp(expected, bytes, 8));
    uint32_t back[2];
    un::from_lsb(back, bytes, 2);
    EXPECT_EQ(words[0], back[0]);
    EXPECT_EQ(words[1], back[1]);
}

} // namespace
