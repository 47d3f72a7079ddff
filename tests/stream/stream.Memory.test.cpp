#include <gtest/gtest.h>

#include "stream/stream.Array.h"
#include "stream/stream.Exception.h"
#include "stream/stream.LimitedInput.h"
#include "stream/stream.LineInput.h"
#include "stream/stream.TextOutput.h"
#include "stream/stream.Vector.h"
#include "support/streams.h"

namespace {

template <typename F>
std::string messageOf(F f) {
    try {
        f();
    } catch (const stream::Exception& e) {
        EXPECT_EQ("stream", e.kind());
        return e.what();
    }
    return "(no exception)";
}

TEST(MemoryStreams, MessagesWordForWord) {
    const char data[] = "abcd";
    stream::ArrayInput array(data, 4);
    std::vector<char> vector(data, data + 4);
    stream::VectorInput vin(vector);
    test::RecordingOutput sink;
    char fixed[4];
    stream::ArrayOutput aout(fixed, 4);
    std::vector<char> grown;
    stream::VectorOutput vout(grown);
    stream::random::VectorOutput rout(grown);

    EXPECT_EQ("stream::ArrayInput::skip() cannot skip more than the maximum array size",
              messageOf([&] { array.skip(0x100000000ull); }));
    EXPECT_EQ("stream::ArrayInput::copy() cannot copy more than the maximum array size",
              messageOf([&] { array.copy(sink, 0x100000000ull); }));
    EXPECT_EQ("stream::ArrayInput::copy() cannot copy more data than the array contains",
              messageOf([&] { array.copy(sink, 5); }));
    EXPECT_EQ("stream::VectorInput::skip() cannot skip more than the maximum vector size",
              messageOf([&] { vin.skip(0x100000000ull); }));
    EXPECT_EQ("stream::VectorInput::copy() cannot copy more than the maximum vector size",
              messageOf([&] { vin.copy(sink, 0x100000000ull); }));
    EXPECT_EQ("stream::VectorInput::copy() cannot copy more data than the vector contains",
              messageOf([&] { vin.copy(sink, 5); }));
    EXPECT_EQ("stream::ArrayOutput cannot write past the end of a fixed-size buffer",
              messageOf([&] { aout.write("12345", 5); }));
    EXPECT_EQ("stream::ArrayOutput::resize() cannot resize its buffer", messageOf([&] { aout.resize(3); }));
    vout.write("xy", 2);
    EXPECT_EQ("stream::VectorOutput::resize() cannot truncate its stream", messageOf([&] { vout.resize(1); }));
    EXPECT_EQ("stream::random::VectorOutput cannot seek past the end of the vector", messageOf([&] { rout.seek(3); }));
}

TEST(ArrayStreams, Boundaries) {
    const char data[] = "abcdef";
    stream::ArrayInput in(data, 6);
    char buffer[8];
    EXPECT_EQ(0u, in.read(buffer, 0));
    EXPECT_EQ(0u, in.tell());
    EXPECT_EQ(4u, in.skip(4));
    EXPECT_EQ(2u, in.read(buffer, 8));
    EXPECT_EQ(-1, in.read());
    EXPECT_EQ(0u, in.skip(10));
    stream::ArrayInput rest(data, 6);
    rest.read();
    test::RecordingOutput sink;
    EXPECT_EQ(5u, rest.copy(sink, stream::all));
    EXPECT_EQ("bcdef", sink.data);

    char fixed[4];
    stream::ArrayOutput out(fixed, 4);
    out.write('a');
    out.write("bcd", 3);  // exactly the free space
    EXPECT_THROW(out.write('e'), stream::Exception);
    EXPECT_EQ(4u, out.tell());
    EXPECT_EQ(std::string("abcd"), std::string(fixed, 4));
    out.resize(4);  // its own size is accepted
}

TEST(VectorOutput, OverwritesInsideAndAppendsBeyond) {
    std::vector<char> v;
    stream::random::VectorOutput out(v);
    out.write("hello", 5);
    out.seek(1);
    out.write('a');
    EXPECT_EQ(5u, v.size());
    out.write("LLOW", 4);
    EXPECT_EQ("haLLOW", std::string(v.begin(), v.end()));
    out.resize(8);
    EXPECT_EQ(8u, out.size());
    out.seek(8);
    test::CountingInput source("xyz");
    EXPECT_EQ(3u, out.copy(source, stream::all));
    EXPECT_EQ(std::string("haLLOW\0\0xyz", 11), std::string(v.begin(), v.end()));
}

TEST(LimitedInput, NeverPassesItsLimit) {
    test::CountingInput source("abcdefgh");
    stream::LimitedInput none(source, 0);
    EXPECT_EQ(-1, none.read());
    EXPECT_EQ(0, source.byteReads);

    stream::LimitedInput in(source, 5);
    EXPECT_EQ('a', in.read());
    char buffer[10];
    EXPECT_EQ(3u, in.read(buffer, 3));
    EXPECT_EQ(1u, in.skip(10));
    EXPECT_EQ(-1, in.read());
    EXPECT_EQ(0u, in.read(buffer, 10));
    EXPECT_EQ('f', source.read());  // the underlying stream goes on
}

TEST(SafeInput, EndIsAnError) {
    auto message = [](auto f) {
        test::CountingInput source("ab");
        stream::SafeInput in(source);
        return messageOf([&] { f(in); });
    };
    EXPECT_EQ("unexpected end of file in stream::SafeInput::read()", message([](stream::SafeInput& in) {
                  in.read();
                  in.read();
                  in.read();
              }));
    EXPECT_EQ("unexpected end of file in stream::SafeInput::read()", message([](stream::SafeInput& in) {
                  char b[3];
                  in.read(b, 3);
              }));
    EXPECT_EQ("unexpected end of file in stream::SafeInput::skip()", message([](stream::SafeInput& in) { in.skip(3); }));
    EXPECT_EQ("unexpected end of file in stream::SafeInput::copy()", message([](stream::SafeInput& in) {
                  test::RecordingOutput sink;
                  in.copy(sink, 3);
              }));
    EXPECT_EQ("(no exception)", message([](stream::SafeInput& in) {
                  test::RecordingOutput sink;
                  in.copy(sink, stream::all);
              }));
}

TEST(LineInput, SkipsLeadingLineEnds) {
    test::CountingInput source("\r\n\r\nabc\nlonger line\r\n\n");
    stream::LineInput in(source);
    std::vector<char> line;
    EXPECT_EQ(3u, in.readLine(line));
    EXPECT_EQ("abc", std::string(line.begin(), line.end()));
    char buffer[7];
    EXPECT_EQ(6, in.readLine(buffer, sizeof buffer));  // cut at the buffer
    EXPECT_STREQ("longer", buffer);
    EXPECT_EQ(5, in.readLine(buffer, sizeof buffer));  // the rest is the next line
    EXPECT_STREQ(" line", buffer);
    EXPECT_EQ(-1, in.readLine(buffer, sizeof buffer));
    EXPECT_EQ(0xFFFFFFFFu, in.readLine(line));

    test::CountingInput ends("\r\n\n\r");
    stream::LineInput only(ends);
    EXPECT_EQ(0xFFFFFFFFu, only.readLine(line));
}

TEST(TextOutput, RewritesLineEnds) {
    struct Case {
        int mode;
        std::string expected;
    };
    for (const Case& c : {Case{0, "a\rb\r\nc\n"}, Case{1, "a\nb\nc\n"}, Case{2, "a\rb\rc\r"},
                          Case{3, "a\r\nb\r\nc\r\n"}}) {
        test::RecordingOutput sink;
        stream::TextOutput out(sink, c.mode);
        out.write("a\rb\r\nc\n", 7);
        EXPECT_EQ(c.expected, sink.data) << "mode " << c.mode;
    }
}

} // namespace
