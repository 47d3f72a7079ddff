#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/zip/zip.ImplodeDecompressor.h"
#include "algorithm/zip/zip.ReduceDecompressor.h"
#include "algorithm/zip/zip.ShrinkDecompressor.h"
#include "format/zip/zip.LocalHeader.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"
#include "support/bytes.h"
#include "support/streams.h"

namespace {

std::vector<char> readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

std::string dataPath(const std::string& name) { return std::string(CRATEWERK_TEST_DATA) + "/zip/" + name; }

std::unique_ptr<stream::Transform> decompressorFor(const format::zip::LocalHeader& h) {
    switch (h.method()) {
    case 1:
        return std::make_unique<algorithm::zip::ShrinkDecompressor>();
    case 2:
    case 3:
    case 4:
    case 5:
        return std::make_unique<algorithm::zip::ReduceDecompressor>(h.method() - 1);
    case 6:
        return std::make_unique<algorithm::zip::ImplodeDecompressor>((h.flags() & 4) != 0, (h.flags() & 2) != 0);
    }
    return nullptr;
}

struct Entry {
    std::string name;
    std::vector<char> data;
    uint32_t crc;
};

// Walks the local headers of an archive and expands each entry by its method,
// checking that the data ends where the compressed size says.
std::vector<Entry> expand(const std::vector<char>& archive) {
    std::vector<Entry> entries;
    stream::VectorInput in(archive);
    for (;;) {
        format::zip::LocalHeader h;
        uint64_t at = in.tell();
        h.read(in, false);
        if (!h.valid()) break;
        Entry e;
        e.name = h.name();
        e.crc = h.crc();
        const char* start = archive.data() + in.tell();
        stream::ArrayInput data(start, h.compressedSize());
        stream::VectorOutput out(e.data);
        auto decompressor = decompressorFor(h);
        EXPECT_NE(decompressor, nullptr) << e.name;
        if (!decompressor) break;
        EXPECT_EQ(decompressor->process(data, out, h.uncompressedSize()), h.uncompressedSize()) << e.name;
        EXPECT_EQ(e.data.size(), h.uncompressedSize());
        in.skip(h.compressedSize());
        EXPECT_GT(in.tell(), at);
        entries.push_back(std::move(e));
    }
    return entries;
}

struct Peer {
    const char* file;
    size_t entries;
    bool sameAsFirstTxt;
};

class LegacyPeers : public ::testing::TestWithParam<Peer> {};

TEST_P(LegacyPeers, ExpandToTheirStoredCrc) {
    std::vector<char> archive = readFile(dataPath(GetParam().file));
    ASSERT_FALSE(archive.empty());
    std::vector<Entry> entries = expand(archive);
    ASSERT_EQ(entries.size(), GetParam().entries);
    for (const Entry& e : entries) EXPECT_EQ(test::crc32({e.data.data(), e.data.size()}), e.crc) << e.name;
    if (GetParam().sameAsFirstTxt) {
        EXPECT_EQ(entries[0].data, readFile(dataPath("zip2-first.txt")));
    }
}

INSTANTIATE_TEST_SUITE_P(Archives, LegacyPeers,
                         ::testing::Values(Peer{"SHRUNK.ZIP", 2, false}, Peer{"zip2-shrink.zip", 1, true},
                                           Peer{"zip2-reduce.zip", 1, true}, Peer{"zip2-implode.zip", 1, true},
                                           Peer{"imploding-4Kdict-2trees.zip", 1, false},
                                           Peer{"imploding-8Kdict-3trees.zip", 1, false},
                                           Peer{"lorem-ipsum-implode.zip", 1, false}),
                         [](const auto& info) {
                             std::string name = info.param.file;
                             for (char& c : name)
                                 if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
                             return name;
                         });

// A reduced stream written bit by bit: empty follower sets, so that every
// byte is 8 plain bits, and the run marker 144 for the matches.
class ReduceWriter {
public:
    explicit ReduceWriter(int factor) : factor_(factor) {
        for (int i = 0; i < 256; ++i) put(0, 6);
    }
    void byte(unsigned c) {
        put(c, 8);
    }
    void literal(unsigned c) {
        byte(c);
        if (c == 144) byte(0);
    }
    // A match of `length` (3 or more) at `distance` (1 or more).
    void match(unsigned length, unsigned distance) {
        const unsigned mask = 0xFFu >> factor_;
        const unsigned l = length - 3;
        const unsigned d = distance - 1;
        byte(144);
        byte(((d >> 8) << (8 - factor_)) | (l < mask ? l : mask));
        if (l >= mask) byte(l - mask);
        byte(d & 0xFF);
    }
    std::vector<char> bytes() const { return bytes_; }

private:
    void put(uint32_t value, unsigned n) {
        for (unsigned i = 0; i < n; ++i) {
            if (count_ % 8 == 0) bytes_.push_back(0);
            if ((value >> i) & 1) bytes_.back() = static_cast<char>(bytes_.back() | (1 << (count_ % 8)));
            ++count_;
        }
    }
    int factor_;
    std::vector<char> bytes_;
    unsigned count_ = 0;
};

class ReduceFactors : public ::testing::TestWithParam<int> {};

TEST_P(ReduceFactors, LengthsAndDistancesOfEachFactor) {
    const int factor = GetParam();
    const unsigned maxDistance = ((0xFFu >> (8 - factor)) << 8) + 256;
    const unsigned longest = (0xFFu >> factor) + 255 + 3;
    ReduceWriter w(factor);
    std::vector<char> expected;
    std::mt19937 rng(static_cast<unsigned>(factor));
    for (int i = 0; i < 5000; ++i) {
        unsigned c = rng() % 4 == 0 ? 144 : rng() % 256;
        w.literal(c);
        expected.push_back(static_cast<char>(c));
    }
    for (int i = 0; i < 300; ++i) {
        unsigned length = 3 + rng() % (longest - 2);
        unsigned distance = 1 + rng() % maxDistance;
        if (i == 0) length = longest, distance = maxDistance;
        if (i == 1) length = 40, distance = 1;
        w.match(length, distance);
        for (unsigned k = 0; k < length; ++k) expected.push_back(expected[expected.size() - distance]);
        w.literal(static_cast<unsigned>(i & 0xFF));
        expected.push_back(static_cast<char>(i & 0xFF));
    }
    std::vector<char> packed = w.bytes();
    std::vector<char> result;
    stream::VectorOutput out(result);
    stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
    algorithm::zip::ReduceDecompressor reduce(factor);
    EXPECT_EQ(reduce.process(in, out, expected.size()), expected.size());
    EXPECT_EQ(result, expected);
}

INSTANTIATE_TEST_SUITE_P(Factors, ReduceFactors, ::testing::Values(1, 2, 3, 4));

// Hostile input: the compressed data of each peer, cut at every length and
// with random bytes flipped, ends in output or an algorithm::Exception, with
// a count and without one.
TEST(LegacyHostile, TruncationsAndFlips) {
    std::mt19937 rng(20261121);
    for (const char* file : {"zip2-shrink.zip", "zip2-reduce.zip", "zip2-implode.zip", "imploding-4Kdict-2trees.zip"}) {
        std::vector<char> archive = readFile(dataPath(file));
        stream::VectorInput in(archive);
        format::zip::LocalHeader h;
        h.read(in, true);
        std::vector<char> packed(archive.begin() + static_cast<long>(in.tell()),
                                 archive.begin() + static_cast<long>(in.tell() + h.compressedSize()));
        auto decompressor = decompressorFor(h);
        auto run = [&](const std::vector<char>& data, uint64_t count) {
            stream::ArrayInput input(data.data(), static_cast<uint32_t>(data.size()));
            test::BoundedOutput out(16u << 20);
            try {
                uint64_t n = count == stream::all ? decompressor->process(input, out)
                                                  : decompressor->process(input, out, count);
                EXPECT_LE(n, count);
                EXPECT_EQ(n, out.tell());
            } catch (const algorithm::Exception&) {
            }
        };
        for (size_t cut = 0; cut < packed.size(); ++cut) {
            std::vector<char> part(packed.begin(), packed.begin() + static_cast<long>(cut));
            run(part, h.uncompressedSize());
            if (cut % 7 == 0) run(part, stream::all);
        }
        for (int round = 0; round < 200; ++round) {
            std::vector<char> damaged = packed;
            for (int f = 0; f < 3; ++f) damaged[rng() % damaged.size()] ^= static_cast<char>(1 + rng() % 255);
            run(damaged, h.uncompressedSize());
            run(damaged, stream::all);
        }
    }
}

} // namespace
