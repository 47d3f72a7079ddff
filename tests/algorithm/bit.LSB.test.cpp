#include <gtest/gtest.h>

#include <random>
#include <string>

#include "algorithm/bit.LSB.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"
#include "support/streams.h"

namespace {

using Input = algorithm::bit::LSBPeekInput<uint32_t>;

TEST(LSBPeekInput, EndRules) {
    const char data[] = {'\xA5', '\xF0'};
    stream::ArrayInput in(data, 2);
    Input bits(in);
    EXPECT_EQ(bits.read(4), 0x5u);  // low bits first
    EXPECT_EQ(bits.peek(12), 0xF0Au);
    EXPECT_EQ(bits.read(10), 0x30Au);
    EXPECT_FALSE(bits.atEnd());
    EXPECT_EQ(bits.peek(8), 0x03u);  // zero bits past the end
    EXPECT_TRUE(bits.atEnd());
    EXPECT_EQ(bits.read(12), 0xFFFFFFFFu);  // fails and drops nothing
    EXPECT_FALSE(bits.pastEnd());
    EXPECT_EQ(bits.read(2), 0x3u);  // the real bits are still there
    EXPECT_FALSE(bits.pastEnd());
    EXPECT_EQ(bits.bytesRead(), 2u);
    bits.skip(1);  // padding held from before: the skip goes through
    EXPECT_TRUE(bits.pastEnd());
}

// A decoder may run on far into the zero padding; the input is asked for
// its end once, not once per byte.
TEST(LSBPeekInput, AnEndedInputIsNotReadAgain) {
    for (bool readAhead : {false, true}) {
        test::CountingInput in("\x01\x02");
        unsigned char buffer[8];
        Input bits = readAhead ? Input(in, buffer, sizeof buffer) : Input(in);
        EXPECT_EQ(bits.read(16), 0x0201u);
        for (int i = 0; i < 1000; ++i) EXPECT_EQ(bits.peek(24), 0u);
        EXPECT_TRUE(bits.atEnd());
        // The bytes and the end: one block read each with the read-ahead.
        EXPECT_EQ(in.byteReads + in.blockReads, readAhead ? 2 : 3);
    }
}

// With a read-ahead buffer the reader gives the same bits, the same failures
// and the same count of bits consumed as the byte-by-byte one.
TEST(LSBPeekInput, ReadAheadBehavesAlike) {
    std::mt19937 rng(5);
    for (int run = 0; run < 200; ++run) {
        std::string data(rng() % 40, '\0');
        for (auto& c : data) c = static_cast<char>(rng());
        stream::ArrayInput exactIn(data.data(), uint32_t(data.size()));
        stream::ArrayInput fastIn(data.data(), uint32_t(data.size()));
        unsigned char buffer[7];
        Input exact(exactIn);
        Input fast(fastIn, buffer, sizeof buffer);
        for (int op = 0; op < 60; ++op) {
            const unsigned n = 1 + rng() % 24;
            switch (rng() % 3) {
                case 0:
                    ASSERT_EQ(exact.read(n), fast.read(n)) << run << "/" << op;
                    break;
                case 1:
                    ASSERT_EQ(exact.peek(n), fast.peek(n)) << run << "/" << op;
                    break;
                default:
                    exact.skip(n);
                    fast.skip(n);
            }
            ASSERT_EQ(8 * exact.bytesRead() - exact.bitsHeld(), 8 * fast.bytesRead() - fast.bitsHeld());
            ASSERT_EQ(exact.atEnd(), fast.atEnd());
            ASSERT_EQ(exact.pastEnd(), fast.pastEnd());
        }
    }
}

TEST(LSBOutput, WritesFieldsOfEveryWidth) {
    std::mt19937 rng(9);
    std::vector<std::pair<uint32_t, unsigned>> fields;
    std::vector<char> bytes;
    stream::VectorOutput out(bytes);
    algorithm::bit::LSBOutput<uint32_t> bits(out);
    for (int i = 0; i < 500; ++i) {
        const unsigned n = 1 + rng() % 32;
        const uint32_t v = rng() & (n == 32 ? 0xFFFFFFFFu : (1u << n) - 1);
        fields.push_back({v, n});
        bits.write(v, n);
    }
    bits.flush();
    EXPECT_EQ(bits.bytesWritten(), bytes.size());
    stream::ArrayInput in(bytes.data(), uint32_t(bytes.size()));
    Input back(in);
    for (const auto& [v, n] : fields) {
        const uint32_t low = back.read(n > 16 ? 16 : n);
        const uint32_t high = n > 16 ? back.read(n - 16) : 0;
        ASSERT_EQ(low | high << 16, v) << n;
    }
}

} // namespace
