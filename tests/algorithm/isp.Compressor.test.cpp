#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/isp/isp.Compressor.h"
#include "algorithm/isp/isp.TextDetector.h"
#include "isp.Support.h"
#include "support/damage.h"
#include "support/failure.h"
#include "support/streams.h"

namespace {

using algorithm::isp::Coder;
using algorithm::isp::MemoryCompressor;
using algorithm::isp::Preprocessor;

std::vector<char> compress(const std::string& data, int level = Preprocessor::tkt5CompressionLevel,
                           bool resource = false) {
    Preprocessor preprocessor;
    Coder coder;
    coder.resource(resource);
    MemoryCompressor compressor(preprocessor, coder);
    compressor.level(level);
    std::vector<char> packed;
    stream::ArrayInput in(data.data(), uint32_t(data.size()));
    stream::VectorOutput out(packed);
    const uint64_t written = compressor.process(in, out);
    EXPECT_EQ(written, packed.size());
    return packed;
}

std::string text(size_t n) {
    static const char* words[] = {"window ", "history ", "the ", "match ", "literal ", "code\n", "table ", "a "};
    std::mt19937 rng(7);
    std::string s;
    while (s.size() < n) s += words[rng() % 8];
    s.resize(n);
    return s;
}

// Repeats at every distance class: a random block, then copies of pieces of
// it from 1 up to 32000 bytes back.
std::string distances() {
    std::string s = test::noise(33000, 3);
    for (uint32_t d = 1; d <= 32000; d *= 2) {
        for (uint32_t extra : {0u, d / 3, d - 1}) {
            const uint32_t distance = std::max(1u, d + extra);
            const size_t from = s.size() - distance;
            for (size_t i = 0; i < 20; ++i) s.push_back(s[from + i]);
            s += test::noise(5, distance);
        }
    }
    return s;
}

struct RoundTrip {
    const char* name;
    std::function<std::string()> make;
};

class ISPRoundTrip : public ::testing::TestWithParam<RoundTrip> {};

TEST_P(ISPRoundTrip, ExpandsToTheInput) {
    const std::string data = GetParam().make();
    for (int level : {1, 4, 9}) {
        const auto packed = compress(data, level);
        ASSERT_EQ(isptest::expand(packed), data) << "level " << level;
    }
    Preprocessor preprocessor;
    Coder coder;
    coder.resource(true);
    MemoryCompressor compressor(preprocessor, coder);
    std::vector<char> packed;
    stream::ArrayInput in(data.data(), uint32_t(data.size()));
    stream::VectorOutput out(packed);
    compressor.process(in, out);
    EXPECT_EQ(isptest::expand(packed), data) << "resource";
}

const RoundTrip roundTrips[] = {
    {"empty", [] { return std::string(); }},
    {"oneByte", [] { return std::string("Q"); }},
    {"twoBytes", [] { return std::string("\xFD\x00", 2); }},
    {"threeBytes", [] { return std::string("abc"); }},
    {"escapedLiterals", [] { return std::string("\xFD\xFE\xFF\xFD\x00\xFE\xFF\xFF\xFD\xFD", 10) + "\xFF"; }},
    {"runOf1000", [] { return std::string(1000, 'z'); }},
    {"runs318And319", [] { return std::string(100000, '\0') + "x" + std::string(700, '\0'); }},
    {"everyDistanceClass", distances},
    {"longerThanWindow", [] { return text(70000) + test::noise(3000, 1) + text(70000); }},
    {"random", [] { return test::noise(150000, 2); }},
    {"text", [] { return text(150000); }},
    {"smallText", [] { return text(700); }},
    {"smallBinary", [] { return test::noise(300, 4) + std::string(300, '\x01') + test::noise(300, 4); }},
    {"resourceSize", [] { return test::noise(2000, 5) + text(2500); }},
};

INSTANTIATE_TEST_SUITE_P(Data, ISPRoundTrip, ::testing::ValuesIn(roundTrips),
                         [](const auto& info) { return std::string(info.param.name); });

// The first byte of a stream: distance symbols less 10, the same-tables bit,
// the preset.
struct Header {
    int distanceSymbols;
    bool same;
    int preset;
};
Header header(const std::vector<char>& packed) {
    const auto b = static_cast<unsigned char>(packed.at(0));
    return {(b & 7) + 10, (b & 8) != 0, b >> 4};
}

TEST(ISPCoder, SmallInputTakesAPreset) {
    const Header textual = header(compress(text(900)));
    EXPECT_EQ(textual.preset, 5);
    EXPECT_EQ(textual.distanceSymbols, 11);
    const Header binary = header(compress(test::noise(200, 9) + test::noise(200, 9)));
    EXPECT_EQ(binary.preset, 4);
    EXPECT_EQ(header(compress(text(900), 4, true)).preset, 1);
    EXPECT_EQ(header(compress(text(2500), 4, true)).preset, 2);
    EXPECT_EQ(header(compress(text(4500), 4, true)).preset, 3);
}

TEST(ISPCoder, ChoosesOneOrTwoTables) {
    // Text codes alike after literals and after matches: one table.
    const Header one = header(compress(text(200000)));
    EXPECT_EQ(one.preset, 0);
    EXPECT_TRUE(one.same);
    EXPECT_EQ(one.distanceSymbols, 16);
    // Letters and ten-byte copies by turns: after a literal comes a match,
    // after a match a letter. Two tables code that better.
    std::string data = test::noise(1000, 12);
    std::mt19937 rng(11);
    for (int i = 0; i < 20000; ++i) {
        data += char('A' + rng() % 16);
        data += data.substr(rng() % 990, 10);
    }
    const Header two = header(compress(data));
    EXPECT_EQ(two.preset, 0);
    EXPECT_FALSE(two.same);
    EXPECT_EQ(isptest::expand(compress(data)), data);
}

TEST(ISPCoder, SizesTheHistoryToASmallInput) {
    EXPECT_EQ(header(compress(test::noise(20000, 1))).distanceSymbols, 16);  // 20479: 15 bits
    EXPECT_EQ(header(compress(test::noise(40000, 1))).distanceSymbols, 16);
    EXPECT_EQ(header(compress(text(5000))).distanceSymbols, 14);  // 5119: 13 bits
}

TEST(ISPTextDetector, LooksAtSmallInputsOnly) {
    const std::string lines = text(1500);
    EXPECT_TRUE(algorithm::isp::TextDetector::text(lines.data(), 1500));
    EXPECT_TRUE(algorithm::isp::TextDetector::text(lines.data(), 2048));
    EXPECT_FALSE(algorithm::isp::TextDetector::text(std::string(20, 'a').data(), 20));  // no line end
    const std::string big = text(3000);
    EXPECT_FALSE(algorithm::isp::TextDetector::text(big.data(), 2049));
    std::string odd = text(800);
    for (size_t i = 0; i < 100; ++i) odd[i * 8] = '\x80';  // one in eight
    EXPECT_FALSE(algorithm::isp::TextDetector::text(odd.data(), 800));
    odd[0] = 'x';
    EXPECT_TRUE(algorithm::isp::TextDetector::text(odd.data(), 800));
}

// The preprocessor's tokens for a long run: symbol 319 (0xFF with a high
// byte of 4 or more) and symbol 318.
TEST(ISPPreprocessor, LongRunsTakeTheLongLengthSymbols) {
    const std::string data = std::string(40000, 'r') + "s" + std::string(500, 'r');
    Preprocessor preprocessor;
    preprocessor.level(4);
    std::vector<char> tokens;
    stream::ArrayInput in(data.data(), uint32_t(data.size()));
    stream::VectorOutput out(tokens);
    preprocessor.process(in, out);
    bool long319 = false, long318 = false;
    for (size_t i = 0; i + 2 < tokens.size(); ++i) {
        if (tokens[i] != '\xFF') continue;
        const unsigned x = static_cast<unsigned char>(tokens[i + 1]) | static_cast<unsigned char>(tokens[i + 2]) << 8;
        (x >= 1024 ? long319 : long318) = true;
    }
    EXPECT_TRUE(long319);
    EXPECT_TRUE(long318);
    EXPECT_EQ(std::string(tokens.end() - 2, tokens.end()), std::string("\xFD\x00", 2));
}

template <typename F>
void expectMessage(F f, const char* message, const char* kind) {
    EXPECT_EQ(test::failureOf(f), std::string(kind) + ": " + message);
}

TEST(ISPCompressor, Failures) {
    expectMessage([] { compress("abc", 0); }, "invalid compression level", "algorithm::isp::Preprocessor");
    expectMessage([] { compress("abc", 10); }, "invalid compression level", "algorithm::isp::Preprocessor");
    expectMessage(
        [] {
            Coder coder;
            std::vector<char> none;
            stream::VectorInput in(none);
            stream::VectorOutput out(none);
            coder.process(in, out);
        },
        "algorithm::isp::Coder was not initialized", "algorithm");
    expectMessage(
        [] {
            Preprocessor p;
            Coder c;
            algorithm::isp::FileCompressor compressor(p, c);
            std::vector<char> temp;
            stream::VectorOutput tempOut(temp);
            compressor.temporaryOutput(&tempOut);
            std::string data = "abc";
            stream::ArrayInput in(data.data(), 3);
            compressor.process(in, tempOut);
        },
        "Need output and input streams of a temporary file object", "algorithm::isp::Compressor");
}

// A temporary file in memory: written, then read back from its start.
class MemoryFile : public stream::random::Input {
public:
    explicit MemoryFile(const std::vector<char>& data) : data_(data) {}
    using stream::Input::read;
    int read() override { return at_ < data_.size() ? static_cast<unsigned char>(data_[at_++]) : -1; }
    uint64_t tell() const override { return at_; }
    uint64_t size() const override { return data_.size(); }
    void seek(uint64_t position) override { at_ = position; }

private:
    const std::vector<char>& data_;
    uint64_t at_ = 7;
};

TEST(ISPCompressor, FileCompressorMatchesMemoryCompressor) {
    const std::string data = text(100000) + test::noise(5000, 8);
    Preprocessor p;
    Coder c;
    algorithm::isp::FileCompressor compressor(p, c);
    compressor.level(4);
    std::vector<char> temp;
    stream::VectorOutput tempOut(temp);
    MemoryFile tempIn(temp);
    compressor.temporaryOutput(&tempOut);
    compressor.temporaryInput(&tempIn);
    std::vector<char> packed;
    stream::ArrayInput in(data.data(), uint32_t(data.size()));
    stream::VectorOutput out(packed);
    const uint64_t written = compressor.process(in, out);
    EXPECT_EQ(written, packed.size());
    EXPECT_EQ(packed, compress(data));
}

// Damaged streams end in output or an algorithm::Exception, never a crash,
// a hang or output without bound; a cut stream always throws.
std::vector<std::vector<char>> samples() {
    return {compress(text(600)), compress(test::noise(300, 6) + std::string(200, 'x')),
            compress(text(5000) + test::noise(500, 3), 6, true), compress(distances().substr(0, 4000))};
}

TEST(ISPHostile, EveryTruncationThrows) {
    algorithm::isp::Decompressor d;
    for (const auto& packed : samples()) {
        // Every cut of the small streams, a spread of cuts of the larger.
        const size_t step = packed.size() < 600 ? 1 : 7;
        for (size_t n = 0; n < packed.size(); n += (n + 16 > packed.size() ? 1 : step)) {
            stream::ArrayInput in(packed.data(), uint32_t(n));
            test::BoundedOutput out(~uint64_t(0));
            EXPECT_THROW(d.process(in, out), algorithm::Exception) << n << " of " << packed.size();
        }
    }
}

TEST(ISPHostile, ByteFlipsEndCleanly) {
    algorithm::isp::Decompressor d;
    std::mt19937 rng(20261121);
    int failures = 0, completions = 0;
    for (const auto& original : samples()) {
        for (int round = 0; round < test::damageRounds(600); ++round) {
            const std::vector<char> packed = test::flipped(original, rng, 3);
            stream::ArrayInput in(packed.data(), uint32_t(packed.size()));
            test::BoundedOutput out(~uint64_t(0));
            try {
                d.process(in, out);
                ++completions;
                // A match takes at least two bits and gives at most 32832 bytes.
                EXPECT_LE(out.tell(), uint64_t(packed.size()) * 4 * 32832);
            } catch (const algorithm::Exception&) {
                ++failures;
            }
        }
    }
    EXPECT_GT(failures, 0);
    EXPECT_EQ(failures + completions, 4 * test::damageRounds(600));
}

} // namespace
