#include <gtest/gtest.h>

#include <cstring>

#include "algorithm/algorithm.Password.h"
#include "algorithm/rc4.Cipher.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"

namespace {

std::vector<unsigned char> keystream(const algorithm::rc4::ScheduledKey& key, size_t offset, size_t count) {
    algorithm::rc4::Cipher cipher(key);
    for (size_t i = 0; i < offset; ++i) cipher.next();
    std::vector<unsigned char> out(count);
    for (auto& b : out) b = cipher.next();
    return out;
}

// Key streams of RFC 6229 (the 40-bit key at offsets 0 and 16, the 80-bit key at 0).
TEST(RC4, RFC6229Vectors) {
    struct Case {
        std::string key;
        std::vector<unsigned char> at0, at16;
    };
    const Case cases[] = {
        {std::string("\x01\x02\x03\x04\x05", 5),
         {0xb2, 0x39, 0x63, 0x05, 0xf0, 0x3d, 0xc0, 0x27, 0xcc, 0xc3, 0x52, 0x4a, 0x0a, 0x11, 0x18, 0xa8},
         {0x69, 0x82, 0x94, 0x4f, 0x18, 0xfc, 0x82, 0xd5, 0x89, 0xc4, 0x03, 0xa4, 0x7a, 0x0d, 0x09, 0x19}},
        {std::string("\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a", 10),
         {0xed, 0xe3, 0xb0, 0x46, 0x43, 0xe5, 0x86, 0xcc, 0x90, 0x7d, 0xc2, 0x18, 0x51, 0x70, 0x99, 0x02},
         {}},
    };
    for (const Case& c : cases) {
        algorithm::rc4::ScheduledKey key(c.key);
        EXPECT_EQ(c.at0, keystream(key, 0, 16));
        if (!c.at16.empty()) EXPECT_EQ(c.at16, keystream(key, 16, 16));
    }
}

TEST(RC4, RandomizedKeyIsKeyThenRandomizer) {
    algorithm::rc4::RandomizedKey randomized(std::string("\x01\x02\x03\x04\x05", 5), std::string("\x06\x07\x08\x09\x0a", 5));
    EXPECT_EQ(0xed, keystream(randomized, 0, 1)[0]);
    EXPECT_EQ(keystream(algorithm::rc4::ScheduledKey(std::string("\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a", 10)), 0, 64),
              keystream(randomized, 0, 64));
}

TEST(RC4, FilterStreamsRoundTrip) {
    algorithm::rc4::ScheduledKey key("Key");
    std::vector<char> sealed;
    {
        stream::VectorOutput out(sealed);
        algorithm::rc4::Cipher cipher(key);
        algorithm::rc4::Output encipher(out, cipher);
        encipher.write("Plain", 5);
        encipher.write('t');
        encipher.write("ext", 3);
    }
    const unsigned char expected[] = {0xBB, 0xF3, 0x16, 0xE8, 0xD9, 0x40, 0xAF, 0x0A, 0xD3};
    ASSERT_EQ(9u, sealed.size());
    EXPECT_EQ(0, std::memcmp(expected, sealed.data(), 9));

    stream::VectorInput in(sealed);
    algorithm::rc4::Cipher cipher(key);
    algorithm::rc4::Input decipher(in, cipher);
    char plain[9];
    plain[0] = static_cast<char>(decipher.read());
    EXPECT_EQ(8u, decipher.read(plain + 1, 8));
    EXPECT_EQ("Plaintext", std::string(plain, 9));
}

TEST(Password, EraseOverwritesTheBuffer) {
    struct Probe : algorithm::Password {
        using algorithm::Password::Password;
        void erase() override {
            const char* data = value().data();
            size_t size = value().size();
            algorithm::Password::erase();
            // The old buffer is still ours (a cleared string keeps its storage) and holds zeros.
            wiped = size > 0 && std::string(data, size) == std::string(size, '\0');
        }
        bool wiped = false;
    } password(std::string(40, 's'));
    EXPECT_EQ(40u, password.value().size());
    password.erase();
    EXPECT_TRUE(password.wiped);
    EXPECT_TRUE(password.empty());
}

} // namespace
