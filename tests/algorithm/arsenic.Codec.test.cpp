// Round trips, exact bytes and error texts of the Arsenic compressor and
// decompressor.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/arsenic/arsenic.Compressor.h"
#include "algorithm/arsenic/arsenic.Decompressor.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Vector.h"

namespace {

using algorithm::arsenic::Compressor;
using algorithm::arsenic::FastDecompressor;
using Bytes = std::vector<char>;

Bytes compress(const Bytes& data, int blockBits, bool* randomized = nullptr) {
    Bytes packed;
    stream::VectorInput in(data);
    stream::VectorOutput out(packed);
    Compressor compressor(blockBits);
    uint64_t size = compressor.process(in, out);
    EXPECT_EQ(size, packed.size());
    if (randomized) *randomized = compressor.lastBlockRandomized();
    return packed;
}

Bytes expand(const Bytes& packed, FastDecompressor& decompressor) {
    Bytes data;
    stream::VectorInput in(packed);
    stream::VectorOutput out(data);
    uint64_t size = decompressor.process(in, out);
    EXPECT_EQ(size, data.size());
    return data;
}

Bytes expand(const Bytes& packed) {
    FastDecompressor decompressor;
    return expand(packed, decompressor);
}

Bytes text(size_t size) {
    static const char* words[] = {"block ",  "sorting ", "arithmetic ", "coding ", "the ", "of ",  "a ",
                                  "stream\n", "model ",   "run ",        "length ", "and ", "to ", "Arsenic "};
    std::mt19937 random(7);
    Bytes out;
    while (out.size() < size) {
        const char* w = words[random() % 14];
        out.insert(out.end(), w, w + std::strlen(w));
    }
    out.resize(size);
    return out;
}

Bytes randomBytes(size_t size, uint32_t seed) {
    std::mt19937 random(seed);
    Bytes out(size);
    for (auto& c : out) c = static_cast<char>(random());
    return out;
}

Bytes repeated(size_t size, char c) { return Bytes(size, c); }

Bytes periodic(size_t size, const std::string& period) {
    Bytes out(size);
    for (size_t i = 0; i < size; ++i) out[i] = period[i % period.size()];
    return out;
}

// Runs of every length up to 300, of bytes equal to their neighbours' and not.
Bytes runs() {
    Bytes out;
    for (int n = 1; n <= 300; ++n) out.insert(out.end(), static_cast<size_t>(n), static_cast<char>(n % 3 == 0 ? 0 : n));
    return out;
}

struct Sample {
    const char* name;
    Bytes data;
};

const std::vector<Sample>& samples() {
    static const std::vector<Sample> all = {
        {"empty", {}},
        {"one_byte", {'x'}},
        {"zero_byte", {'\0'}},
        {"run4", repeated(4, 'a')},
        {"run5", repeated(5, 'a')},
        {"run255", repeated(255, 'a')},
        {"run256", repeated(256, 'a')},
        {"run_long_zeros", repeated(40000, '\0')},
        {"runs", runs()},
        {"periodic", periodic(20000, "abc")},
        {"random", randomBytes(30000, 1)},
        {"text", text(30000)},
        {"all_bytes", [] {
             Bytes b;
             for (int r = 0; r < 40; ++r)
                 for (int i = 0; i < 256; ++i) b.push_back(static_cast<char>(i * 7 + r));
             return b;
         }()},
    };
    return all;
}

class RoundTrip : public testing::TestWithParam<std::tuple<size_t, int>> {};

TEST_P(RoundTrip, ExpandsToTheInput) {
    const Sample& sample = samples()[std::get<0>(GetParam())];
    int blockBits = std::get<1>(GetParam());
    Bytes packed = compress(sample.data, blockBits);
    EXPECT_EQ(expand(packed), sample.data);
}

INSTANTIATE_TEST_SUITE_P(Arsenic, RoundTrip,
                         testing::Combine(testing::Range<size_t>(0, 13), testing::Values(9, 13, 16, 20, 24)),
                         [](const testing::TestParamInfo<RoundTrip::ParamType>& info) {
                             return std::string(samples()[std::get<0>(info.param)].name) + "_bits" +
                                    std::to_string(std::get<1>(info.param));
                         });

TEST(Arsenic, PeriodicBlockTakesTheRandomisedPath) {
    Bytes data = periodic(60000, "abcdefg");
    bool randomized = false;
    Bytes packed = compress(data, 16, &randomized);
    EXPECT_TRUE(randomized);
    EXPECT_EQ(expand(packed), data);

    compress(text(60000), 16, &randomized);
    EXPECT_FALSE(randomized);
}

TEST(Arsenic, TextCompressesWell) {
    Bytes data = text(100000);
    EXPECT_LT(compress(data, 20).size(), data.size() / 3);
}

// Header "As" and the size field, the end flag 1, the complement of the
// initial CRC state (0) and the coder's 26-bit tail, by the bit model alone.
TEST(Arsenic, EmptyStreamBytes) {
    struct Case {
        int bits;
        std::vector<unsigned char> bytes;
    };
    const Case cases[] = {
        {20, {0x42, 0xc1, 0xe8, 0xdf, 0xa1, 0x3a, 0x00, 0x00, 0x00}},
        {9, {0x42, 0xc1, 0xc6, 0xa3, 0xfd, 0xe8, 0x00, 0x00}},
        {24, {0x42, 0xc1, 0xed, 0x32, 0x9d, 0x9c, 0x00, 0x00, 0x00}},
    };
    for (const Case& c : cases) {
        Bytes packed = compress({}, c.bits);
        EXPECT_EQ(Bytes(c.bytes.begin(), c.bytes.end()), packed) << c.bits;
        EXPECT_TRUE(expand(packed).empty());
    }
}

TEST(Arsenic, ReusedDecompressorKeepsItsBlockSize) {
    FastDecompressor decompressor;
    Bytes data = text(5000);
    EXPECT_EQ(expand(compress(data, 12), decompressor), data);
    EXPECT_EQ(expand(compress(data, 12), decompressor), data);
    EXPECT_EQ(expand(compress(data, 14), decompressor), data);
    // A smaller block size than the one met before is read with too many
    // index bits: the stream fails.
    EXPECT_THROW(expand(compress(data, 12), decompressor), un::exception);
}

TEST(Arsenic, AchtungListenersAreCalled) {
    struct Counter : algorithm::arsenic::AchtungListener {
        int calls = 0;
        void achtung() override { ++calls; }
    } compressing, expanding;
    Bytes data = text(40000);
    Bytes packed;
    {
        stream::VectorInput in(data);
        stream::VectorOutput out(packed);
        Compressor compressor(16);
        compressor.achtungListeners().add(&compressing);
        compressor.process(in, out);
    }
    Bytes result;
    {
        stream::VectorInput in(packed);
        stream::VectorOutput out(result);
        FastDecompressor decompressor;
        decompressor.achtungListeners().add(&expanding);
        decompressor.process(in, out);
    }
    EXPECT_EQ(result, data);
    EXPECT_GT(compressing.calls, 1);
    EXPECT_GE(expanding.calls, 9);  // the reversal, every 4096 bytes of the block
}

} // namespace
