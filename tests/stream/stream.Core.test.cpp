#include <gtest/gtest.h>

#include "stream/stream.ByteOrder.h"
#include "stream/stream.Copier.h"
#include "stream/stream.Exception.h"
#include "stream/stream.Transform.h"
#include "stream/stream.Vector.h"
#include "stream/stream.progress.h"
#include "support/failure.h"
#include "support/streams.h"

namespace {

TEST(InputCopy, CountsOfZeroAndAll) {
    test::CountingInput source("abc");
    test::RecordingOutput sink;
    EXPECT_EQ(0u, source.stream::Input::copy(sink, 0));
    EXPECT_EQ("", sink.data);
    EXPECT_EQ(1, sink.flushes);  // even a copy of nothing flushes
    // "all" runs to the end whether the size is known or not.
    for (bool knownSize : {true, false}) {
        test::CountingInput source("abcdef", knownSize);
        source.read();
        test::RecordingOutput sink;
        EXPECT_EQ(5u, source.stream::Input::copy(sink, stream::all));
        EXPECT_EQ("bcdef", sink.data);
    }
}

TEST(OutputCopy, AllAfterPartialReadStopsAtTheEnd) {
    test::CountingInput source("abcdef");
    source.read();
    source.read();
    test::RecordingOutput sink;
    // The count becomes size() = 6 without subtracting tell(); the end stops the loop.
    EXPECT_EQ(4u, sink.stream::Output::copy(source, stream::all));
    EXPECT_EQ("cdef", sink.data);
    EXPECT_EQ(4, sink.byteWrites);
    EXPECT_EQ(1, sink.flushes);
}

TEST(OutputResize, GrowsWithZerosAndRefusesToShrink) {
    test::RecordingOutput sink;
    sink.stream::Output::write("ab", 2);
    sink.stream::Output::resize(2);
    EXPECT_EQ("ab", sink.data);
    sink.stream::Output::resize(4);
    EXPECT_EQ(std::string("ab\0\0", 4), sink.data);
    EXPECT_EQ("stream: default stream::Output::resize() does not truncate its stream",
              test::failureOf([&] { sink.stream::Output::resize(1); }));
}

TEST(Transform, MissingFormsThrowTheirTexts) {
    struct Nothing : stream::Transform {} transform;
    test::CountingInput in("x");
    test::RecordingOutput out;
    EXPECT_EQ("stream: stream transform does not implement full stream processing",
              test::failureOf([&] { transform.process(in, out); }));
    EXPECT_EQ("stream: stream transform does not implement partial stream processing",
              test::failureOf([&] { transform.process(in, out, 1); }));
}

TEST(Copier, FullAndPartialForms) {
    std::string data = test::pattern(1000);
    {
        test::CountingInput in(data);
        test::RecordingOutput out;
        stream::Copier copier(64);
        EXPECT_EQ(1000u, copier.process(in, out));
        EXPECT_EQ(data, out.data);
        EXPECT_EQ(1, out.flushes);
    }
    {
        test::CountingInput in(data);
        test::RecordingOutput out;
        stream::Copier copier(64);
        EXPECT_EQ(130u, copier.process(in, out, 130));
        EXPECT_EQ(data.substr(0, 130), out.data);
        EXPECT_EQ(2u, in.lastBlockRequest);  // 64 + 64 + 2
        // A count larger than the data stops at its end.
        EXPECT_EQ(870u, copier.process(in, out, 5000));
        EXPECT_EQ(data, out.data);
    }
    {
        test::CountingInput in(data);
        test::RecordingOutput out;
        stream::Copier copier(64);
        EXPECT_EQ(0u, copier.process(in, out, 0));
        EXPECT_EQ(1, in.blockReads);
        EXPECT_EQ(0u, in.lastBlockRequest);
        EXPECT_EQ(1, out.flushes);
    }
}

TEST(ByteOrder, ComposesIntegersFromSingleReads) {
    std::string bytes("\x12\x34\x56\x78\x9A\xBC\xDE\xF0", 8);
    test::CountingInput source(bytes);
    stream::BigEndianInput be(source);
    EXPECT_EQ(0x1234u, be.u16());
    EXPECT_EQ(0x56789ABCu, be.u32());
    int16_t s;
    be >> s;
    EXPECT_EQ(int16_t(0xDEF0), s);
    EXPECT_EQ(8, source.byteReads);
    // Past the end each missing byte counts as 0xFF, with no error.
    EXPECT_EQ(0xFFFFFFFFu, be.u32());

    test::CountingInput source2(bytes);
    stream::LittleEndianInput le(source2);
    EXPECT_EQ(0x3412u, le.u16());
    EXPECT_EQ(0xBC9A7856u, le.u32());
    EXPECT_EQ(0xFFFFF0DEu, le.u32());
}

TEST(ByteOrder, WritesMostOrLeastSignificantFirst) {
    test::RecordingOutput sink;
    stream::BigEndianOutput be(sink);
    be << uint16_t(0x1234) << uint32_t(0x56789ABC) << int8_t(-1);
    stream::LittleEndianOutput le(sink);
    le << uint16_t(0x1234) << uint32_t(0x56789ABC);
    EXPECT_EQ(std::string("\x12\x34\x56\x78\x9A\xBC\xFF\x34\x12\xBC\x9A\x78\x56", 13), sink.data);
    EXPECT_EQ(13, sink.byteWrites);
}

struct Recorder : stream::progress::Listener<uint64_t> {
    void progress(const stream::progress::Event<uint64_t>& e) override {
        positions.push_back(e.position);
        EXPECT_EQ(stream::all, e.total);
    }
    std::vector<uint64_t> positions;
};

TEST(Progress, InputReportsEveryStep) {
    test::CountingInput source(test::pattern(200000));
    stream::progress::Input in(source);
    Recorder recorder;
    in.addListener(recorder);
    std::vector<char> buffer(50000);
    while (in.read(buffer.data(), 50000) != 0) {
    }
    EXPECT_EQ(200000u, in.tell());
    // Reports after 100000 and 200000: each time the bytes since the last report reached 65536.
    EXPECT_EQ((std::vector<uint64_t>{100000, 200000}), recorder.positions);
}

TEST(Progress, OutputReportsEveryStepInOrderOfListeners) {
    test::RecordingOutput sink;
    stream::progress::Output out(sink);
    std::vector<int> order;
    struct Tagged : stream::progress::Listener<uint64_t> {
        Tagged(std::vector<int>& o, int t) : order(o), tag(t) {}
        void progress(const stream::progress::Event<uint64_t>&) override { order.push_back(tag); }
        std::vector<int>& order;
        int tag;
    } first(order, 1), second(order, 2);
    out.addListener(first);
    out.addListener(second);
    for (int i = 0; i < 16383; ++i) out.write('a');
    EXPECT_TRUE(order.empty());
    out.write('a');
    EXPECT_EQ((std::vector<int>{1, 2}), order);
    EXPECT_EQ(16384u, out.tell());
}

} // namespace
