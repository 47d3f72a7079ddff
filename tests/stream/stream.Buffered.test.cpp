#include <gtest/gtest.h>

#include "stream/stream.BufferedInput.h"
#include "stream/stream.BufferedOutput.h"
#include "stream/stream.Exception.h"
#include "stream/stream.Vector.h"
#include "support/failure.h"
#include "support/streams.h"

namespace {

constexpr uint32_t capacity = 16;

TEST(Buffered, ZeroCapacityIsRefused) {
    test::CountingInput source("abc");
    test::RecordingOutput sink;
    EXPECT_EQ(test::failureOf([&] { stream::BufferedInput(source, 0); }),
              "stream: zero buffer size in stream::BufferedInput");
    EXPECT_EQ(test::failureOf([&] { stream::BufferedOutput(sink, 0); }),
              "stream: zero buffer size in stream::BufferedOutput");
}

// Block reads around the capacity, on a fresh buffer: below it the buffer is
// filled and tell() advances; from the capacity up the request goes straight
// to the source and tell() stays where it was.
struct BlockReadCase {
    uint32_t request;
    uint32_t expectedCount;
    uint64_t expectedTell;
    bool direct;
};

class BufferedInputBlock : public testing::TestWithParam<BlockReadCase> {};

TEST_P(BufferedInputBlock, FreshBuffer) {
    const auto& c = GetParam();
    std::string data = test::pattern(100);
    test::CountingInput source(data);
    stream::BufferedInput in(source, capacity);
    std::vector<char> buffer(c.request);
    EXPECT_EQ(c.expectedCount, in.read(buffer.data(), c.request));
    EXPECT_EQ(std::string(data, 0, c.expectedCount), std::string(buffer.data(), c.expectedCount));
    EXPECT_EQ(c.expectedTell, in.tell());
    EXPECT_EQ(c.direct ? c.request : capacity, source.lastBlockRequest);
    // The next byte is the one after what was delivered, whichever path was taken.
    EXPECT_EQ(static_cast<unsigned char>(data[c.expectedCount]), in.read());
}

INSTANTIATE_TEST_SUITE_P(AroundCapacity, BufferedInputBlock,
                         testing::Values(BlockReadCase{capacity - 1, capacity - 1, capacity - 1, false},
                                         BlockReadCase{capacity, capacity, 0, true},
                                         BlockReadCase{capacity + 1, capacity + 1, 0, true}));

TEST(BufferedInput, ShortResultAfterOneRefill) {
    std::string data = test::pattern(100);
    test::CountingInput source(data);
    stream::BufferedInput in(source, capacity);
    EXPECT_EQ(data[0], static_cast<char>(in.read()));
    char buffer[40];
    // 15 bytes wait; one refill tops the buffer up to 16, and that is all one call gives.
    EXPECT_EQ(capacity, in.read(buffer, 40));
    EXPECT_EQ(std::string(data, 1, capacity), std::string(buffer, capacity));
    EXPECT_EQ(1 + capacity, in.tell());
}

// A source that holds more than its size says (a filter that expands what
// it reads) is still read a whole capacity at a time.
TEST(BufferedInput, SourceLongerThanItsSizeFillsTheCapacity) {
    struct Understated : test::CountingInput {
        using test::CountingInput::CountingInput;
        uint64_t size() const override { return 4; }
    } source(test::pattern(40));
    stream::BufferedInput in(source, capacity);
    char buffer[40];
    EXPECT_EQ(1u, in.read(buffer, 1));
    // 15 bytes wait, and one refill tops them up to the capacity.
    EXPECT_EQ(capacity, in.read(buffer + 1, 39));
    EXPECT_EQ(test::pattern(40).substr(0, 1 + capacity), std::string(buffer, 1 + capacity));
    EXPECT_EQ(1 + capacity, in.tell());
}

TEST(BufferedInput, EndIsRepeatedAndRetried) {
    test::CountingInput source("xy");
    stream::BufferedInput in(source, capacity);
    EXPECT_EQ('x', in.read());
    EXPECT_EQ('y', in.read());
    int before = source.blockReads;
    EXPECT_EQ(-1, in.read());
    EXPECT_EQ(-1, in.read());
    EXPECT_EQ(before + 2, source.blockReads);
    char buffer[4];
    EXPECT_EQ(0u, in.read(buffer, 4));
}

TEST(BufferedInput, BeginRestartsTellAndDropsTheBufferNotTheSource) {
    test::CountingInput source(test::pattern(50));
    stream::BufferedInput in(source, capacity);
    in.skip(10);
    EXPECT_EQ(10u, in.tell());
    in.begin();
    EXPECT_EQ(0u, in.tell());
    // The 6 bytes left in the buffer are gone; the source stands at 16.
    EXPECT_EQ(15u, in.skip(15));
    EXPECT_EQ(19u, in.skip(1000));
}

TEST(BufferedInput, RandomSeekAlwaysDropsTheBuffer) {
    std::vector<char> data(100);
    for (int i = 0; i < 100; ++i) data[i] = static_cast<char>(i);
    struct RandomVectorInput : stream::random::Input {
        explicit RandomVectorInput(const std::vector<char>& d) : data(d) {}
        using stream::Input::read;
        int read() override { return pos < data.size() ? static_cast<unsigned char>(data[pos++]) : -1; }
        uint32_t read(char* b, uint32_t n) override {
            ++reads;
            uint32_t k = 0;
            while (k < n && pos < data.size()) b[k++] = data[pos++];
            return k;
        }
        void seek(uint64_t p) override { pos = p; }
        uint64_t tell() const override { return pos; }
        uint64_t size() const override { return data.size(); }
        const std::vector<char>& data;
        size_t pos = 0;
        int reads = 0;
    } source(data);
    stream::random::BufferedInput in(source, capacity);
    EXPECT_EQ(0, in.read());
    EXPECT_EQ(1, in.read());
    int before = source.reads;
    in.seek(2);  // inside the buffer, still read anew
    EXPECT_EQ(before + 1, source.reads);
    EXPECT_EQ(2u, in.tell());
    EXPECT_EQ(2, in.read());
    in.seek(90);
    EXPECT_EQ(90, in.read());
    EXPECT_EQ(91u, in.tell());
    EXPECT_EQ(100u, in.size());
}

// Block writes around the capacity, into a buffer that already holds one byte.
struct BlockWriteCase {
    uint32_t size;
    std::vector<uint32_t> blockWritesBeforeFlush;
};

class BufferedOutputBlock : public testing::TestWithParam<BlockWriteCase> {};

TEST_P(BufferedOutputBlock, AfterOneByte) {
    const auto& c = GetParam();
    test::RecordingOutput sink;
    std::string data = test::pattern(c.size);
    {
        stream::BufferedOutput out(sink, capacity);
        out.write('!');
        out.write(data.data(), c.size);
        EXPECT_EQ(1u + c.size, out.tell());
        EXPECT_EQ(c.blockWritesBeforeFlush, sink.blockWrites);
    }
    EXPECT_EQ("!" + data, sink.data);  // the destructor flushed, in order
}

INSTANTIATE_TEST_SUITE_P(AroundCapacity, BufferedOutputBlock,
                         testing::Values(BlockWriteCase{capacity - 1, {}},  // exactly the free space: no flush
                                         BlockWriteCase{capacity, {1, capacity}},
                                         BlockWriteCase{capacity + 1, {1, capacity + 1}}));

// A buffer whose memory grows as bytes wait: single bytes, a block and a
// fill reach the sink in whole blocks of the capacity, as from a full buffer.
TEST(BufferedOutput, GrowingBufferWritesWholeBlocks) {
    constexpr uint32_t large = 10000;
    test::RecordingOutput sink;
    std::string expected = test::pattern(6000) + test::pattern(3000) + std::string(25000, 'z') + "e";
    {
        stream::BufferedOutput out(sink, large);
        for (char c : test::pattern(6000)) out.write(c);
        out.write(test::pattern(3000).data(), 3000);
        out.fill(25000, 'z');
        out.write('e');
        EXPECT_EQ((std::vector<uint32_t>{large, large, large}), sink.blockWrites);
        EXPECT_EQ(expected.size(), out.tell());
    }
    EXPECT_EQ((std::vector<uint32_t>{large, large, large, 4001}), sink.blockWrites);
    EXPECT_EQ(expected, sink.data);
    EXPECT_EQ(0, sink.byteWrites);
}

TEST(BufferedOutput, WriteThatDoesNotFitFlushesFirst) {
    test::RecordingOutput sink;
    stream::BufferedOutput out(sink, capacity);
    std::string a = test::pattern(10), b = test::pattern(7);
    out.write(a.data(), 10);
    out.write(b.data(), 7);
    EXPECT_EQ(std::vector<uint32_t>{10}, sink.blockWrites);
    out.flush();
    EXPECT_EQ(a + b, sink.data);
    EXPECT_EQ(1, sink.flushes);
}

TEST(BufferedOutput, TellIsAbsoluteAndCopyPassesTheBufferBy) {
    test::RecordingOutput sink;
    sink.data = "12345";
    stream::BufferedOutput out(sink, capacity);
    EXPECT_EQ(5u, out.tell());
    out.write('a');
    test::CountingInput source("xyz");
    EXPECT_EQ(3u, out.copy(source, 3));
    EXPECT_EQ(6u, out.tell());  // the copy is not counted
    out.flush();
    EXPECT_EQ("12345xyza", sink.data);  // and went ahead of what waited
}

TEST(BufferedOutput, RandomSeekFlushesAndKeepsTell) {
    std::vector<char> vector;
    stream::random::VectorOutput under(vector);
    stream::random::BufferedOutput out(under, capacity);
    out.write("abcdef", 6);
    out.seek(2);
    EXPECT_EQ("abcdef", std::string(vector.begin(), vector.end()));
    EXPECT_EQ(6u, out.tell());
    out.write('Z');
    out.flush();
    EXPECT_EQ("abZdef", std::string(vector.begin(), vector.end()));
}

} // namespace
