// Error texts of the Arsenic decompressor on crafted streams, and damaged
// streams that must end in output or an exception, never a crash or a hang.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "algorithm/algorithm.Exception.h"
#include "algorithm/arith/arith.DCC95Coder.h"
#include "algorithm/arsenic/arsenic.Compressor.h"
#include "algorithm/arsenic/arsenic.CompressorModel.h"
#include "algorithm/arsenic/arsenic.Decompressor.h"
#include "stream/check/crc.CRC.h"
#include "stream/stream.Vector.h"
#include "support/damage.h"
#include "support/failure.h"

namespace {

using namespace algorithm::arsenic;
using Bytes = std::vector<char>;

// Writes a stream symbol by symbol through the real coder and models, so that
// a test can say exactly what a damaged stream holds.
class Crafter {
public:
    Crafter() : out(packed), bits(out), coder(bits), bitModel(coder) {}

    void header(int first = 0x41, int second = 0x73, int sizeField = 11) {
        bitModel.put(first, 8);
        bitModel.put(second, 8);
        bitModel.put(sizeField, 4);
    }
    // One block: the flags, the primary index, and what `body` puts.
    void block(int blockBits, uint32_t primary, const std::function<void(CompressorMTFModel&)>& body) {
        bitModel.put(0);
        bitModel.put(0);
        bitModel.put(primary, blockBits);
        CompressorMTFModel model(coder);
        body(model);
        model.end();
    }
    Bytes finish(uint32_t check) {
        bitModel.put(1);
        bitModel.put(~check, 32);
        coder.finish();
        bits.flush();
        return packed;
    }

private:
    Bytes packed;
    stream::VectorOutput out;
    algorithm::bit::MSBOutput<int32_t> bits;
    algorithm::arith::DCC95Coder coder;
    CompressorBitModel bitModel;
};

uint32_t crcOf(const Bytes& data) {
    algorithm::crc::EthernetCRC crc(0xFFFFFFFFu);
    crc.update(data.data(), static_cast<uint32_t>(data.size()));
    return crc.value();
}

Bytes expand(const Bytes& packed) {
    Bytes data;
    stream::VectorInput in(packed);
    stream::VectorOutput out(data);
    FastDecompressor().process(in, out);
    return data;
}

// What expanding the stream throws, with the decompressor's kind.
std::string failure(const Bytes& packed) {
    return test::failureOf([&] { expand(packed); });
}
const std::string kind = "algorithm::arsenic::Decompressor: ";

Bytes compress(const Bytes& data, int blockBits) {
    Bytes packed;
    stream::VectorInput in(data);
    stream::VectorOutput out(packed);
    Compressor(blockBits).process(in, out);
    return packed;
}

TEST(ArsenicErrors, BadHeader) {
    struct Case {
        int first, second;
    };
    for (Case c : {Case{0x42, 0x73}, Case{0x41, 0x53}, Case{0x00, 0x00}}) {
        Crafter crafter;
        crafter.header(c.first, c.second);
        EXPECT_EQ(failure(crafter.finish(0)), kind + "not a compressed stream");
    }
    EXPECT_EQ(failure(Bytes{'B', 'Z', 'h', '9'}), kind + "not a compressed stream");
}

TEST(ArsenicErrors, BlockSizeOutsideNineTo24) {
    for (int bits : {0, 8, 25, 31}) {
        FastDecompressor decompressor;
        EXPECT_EQ(test::failureOf([&] { decompressor.init(bits); }), kind + "invalid block size") << bits;
    }
    FastDecompressor decompressor;
    decompressor.init(9);
    decompressor.init(24);
}

TEST(ArsenicErrors, CRCMismatch) {
    Crafter crafter;
    crafter.header();
    crafter.block(20, 0, [](CompressorMTFModel& m) { m.put(65); });  // one byte 'A'
    EXPECT_EQ(failure(crafter.finish(crcOf({'B'}))), kind + "CRC checksum mismatch; output data is invalid");

    Crafter good;
    good.header();
    good.block(20, 0, [](CompressorMTFModel& m) { m.put(65); });
    EXPECT_EQ(expand(good.finish(crcOf({'A'}))), Bytes{'A'});
}

// A block of 512 at block size 9: a run that fills it exactly is accepted, one
// byte more is refused as it arrives.
TEST(ArsenicErrors, OverLongRun) {
    {
        Crafter crafter;
        crafter.header(0x41, 0x73, 0);
        crafter.block(9, 0, [](CompressorMTFModel& m) { m.run(513); });
        EXPECT_EQ(failure(crafter.finish(0)), kind + "block overrun");
    }
    {
        Crafter crafter;
        crafter.header(0x41, 0x73, 0);
        crafter.block(9, 0, [](CompressorMTFModel& m) { m.run(100000000); });
        EXPECT_EQ(failure(crafter.finish(0)), kind + "block overrun");
    }
    {
        Crafter crafter;
        crafter.header(0x41, 0x73, 0);
        crafter.block(9, 0, [](CompressorMTFModel& m) {
            m.run(512);
            m.put(1);
        });
        EXPECT_EQ(failure(crafter.finish(0)), kind + "block overrun");
    }
    // 512 zero bytes undo to 102 groups of four zeros with a count of 0, then two.
    Bytes zeros(102 * 4 + 2, '\0');
    Crafter crafter;
    crafter.header(0x41, 0x73, 0);
    crafter.block(9, 0, [](CompressorMTFModel& m) { m.run(512); });
    EXPECT_EQ(expand(crafter.finish(crcOf(zeros))), zeros);
}

// A block that ends on four equal bytes has no count byte; the decoder adds
// nothing and reads nothing past the block.
TEST(ArsenicErrors, BlockEndingWithoutCountByte) {
    Bytes four(4, '\0');
    Crafter crafter;
    crafter.header(0x41, 0x73, 0);
    crafter.block(9, 0, [](CompressorMTFModel& m) { m.run(4); });
    EXPECT_EQ(expand(crafter.finish(crcOf(four))), four);
}

TEST(ArsenicErrors, PrimaryIndexPastTheBlock) {
    Crafter crafter;
    crafter.header(0x41, 0x73, 0);
    crafter.block(9, 500, [](CompressorMTFModel& m) { m.put(3); });
    EXPECT_NE(failure(crafter.finish(0)), "no exception");
}

// The header's block size is a promise: the buffers grow with what a block
// holds, so three bytes cannot claim the 96 MB of a block of 2^24.
TEST(ArsenicHostile, MemoryFollowsTheDataNotTheHeader) {
    FastDecompressor decompressor;
    auto run = [&](const Bytes& packed) {
        Bytes data;
        stream::VectorInput in(packed);
        stream::VectorOutput out(data);
        try {
            decompressor.process(in, out);
        } catch (const un::exception&) {
        }
        return data;
    };
    Crafter empty;
    empty.header(0x41, 0x73, 24 - 9);
    EXPECT_TRUE(run(empty.finish(crcOf({}))).empty());
    EXPECT_EQ(decompressor.reserved(), 0u);

    Crafter hostile;
    hostile.header(0x41, 0x73, 24 - 9);
    hostile.block(24, 0xFFFFFF, [](CompressorMTFModel& m) { m.put(3); });
    run(hostile.finish(0));
    EXPECT_LE(decompressor.reserved(), 6u * 65536);

    Crafter one;
    one.header(0x41, 0x73, 24 - 9);
    one.block(24, 0, [](CompressorMTFModel& m) { m.put(65); });
    const Bytes single = one.finish(crcOf({'A'}));
    EXPECT_EQ(run(single), Bytes{'A'});

    // A block of under a megabyte takes what it needs, and the buffers stay
    // for the next.
    Bytes big;
    std::mt19937 random(3);
    for (int i = 0; i < 900000; ++i) big.push_back(static_cast<char>("abcdefgh"[random() % 8]));
    EXPECT_EQ(run(compress(big, 24)), big);
    EXPECT_LE(decompressor.reserved(), 6u << 20);
    EXPECT_EQ(run(single), Bytes{'A'});
}

TEST(ArsenicErrors, CompressorRefusesBadIndexes) {
    Bytes packed;
    stream::VectorOutput out(packed);
    algorithm::bit::MSBOutput<int32_t> bits(out);
    algorithm::arith::DCC95Coder coder(bits);
    CompressorMTFModel model(coder);
    for (int index : {0, 256, -1}) {
        EXPECT_EQ(test::failureOf([&] { model.put(index); }), "ArsenicCompressorMTFModel: invalid output symbol")
            << index;
    }
}

// A plain walk through the inverse transform of an arbitrary last column,
// then the run-length stage: what the decompressor must give for any block.
Bytes plainExpansion(const Bytes& last, uint32_t primary, uint32_t* cycle) {
    const uint32_t n = static_cast<uint32_t>(last.size());
    uint32_t starts[256] = {};
    for (char c : last) ++starts[static_cast<unsigned char>(c)];
    for (uint32_t i = 0, sum = 0; i < 256; ++i) sum += std::exchange(starts[i], sum);
    std::vector<uint32_t> next(n);
    for (uint32_t i = 0; i < n; ++i) next[starts[static_cast<unsigned char>(last[i])]++] = i;
    Bytes block(n);
    uint32_t p = next[primary];
    *cycle = 0;
    for (uint32_t i = 0; i < n; ++i) {
        block[i] = last[p];
        p = next[p];
        if (*cycle == 0 && p == next[primary]) *cycle = i + 1;
    }
    Bytes out;
    int repeats = 0;
    char previous = 0;
    for (uint32_t i = 0; i < n; ++i) {
        const char b = block[i];
        out.push_back(b);
        if (b == previous && ++repeats > 3) {
            out.insert(out.end(), i + 1 < n ? static_cast<unsigned char>(block[++i]) : 0, b);
            repeats = 0;
        } else if (b != previous) {
            repeats = 1;
        }
        previous = b;
    }
    return out;
}

// Last columns that no compressor makes, large enough for the interleaved
// walk: their permutations fall into several cycles, and the expansion must
// repeat the primary's cycle just as a plain walk does.
TEST(ArsenicHostile, ArbitraryLastColumnsExpandAsAPlainWalk) {
    std::mt19937 random(17);
    for (unsigned alphabet : {2u, 3u, 256u}) {
        Bytes last(100000 + alphabet);
        for (char& c : last) c = static_cast<char>('a' + random() % alphabet);
        const uint32_t primary = static_cast<uint32_t>(random() % last.size());
        uint32_t cycle = 0;
        const Bytes expected = plainExpansion(last, primary, &cycle);
        EXPECT_LT(cycle, last.size()) << alphabet;

        Crafter crafter;
        crafter.header(0x41, 0x73, 17 - 9);
        crafter.block(17, primary, [&](CompressorMTFModel& m) {
            unsigned char list[256];
            for (int i = 0; i < 256; ++i) list[i] = static_cast<unsigned char>(i);
            int run = 0;
            for (char ch : last) {
                const auto c = static_cast<unsigned char>(ch);
                int index = 0;
                while (list[index] != c) ++index;
                std::memmove(list + 1, list, static_cast<size_t>(index));
                list[0] = c;
                if (index == 0) {
                    ++run;
                    continue;
                }
                m.run(run);
                run = 0;
                m.put(index);
            }
            m.run(run);
        });
        EXPECT_EQ(expand(crafter.finish(crcOf(expected))), expected) << alphabet;
    }
}

// Every truncation of a few small streams: output or an exception.
TEST(ArsenicHostile, EveryTruncation) {
    std::vector<Bytes> inputs = {{}, Bytes(300, 'z'), Bytes{'h', 'e', 'l', 'l', 'o'}};
    Bytes mixed;
    std::mt19937 random(11);
    for (int i = 0; i < 1000; ++i) mixed.push_back(static_cast<char>("abcab  \n"[random() % 8]));
    inputs.push_back(mixed);
    for (const Bytes& input : inputs) {
        Bytes packed = compress(input, 9);
        for (size_t n = 0; n < packed.size(); ++n) {
            Bytes cut(packed.begin(), packed.begin() + static_cast<long>(n));
            try {
                expand(cut);
            } catch (const un::exception&) {
            }
        }
    }
}

// A few thousand random byte flips: output or an exception, never a crash or
// a hang; a flip that still expands must give no more than a bounded output.
TEST(ArsenicHostile, RandomByteFlips) {
    Bytes input;
    std::mt19937 random(5);
    for (int i = 0; i < 1200; ++i) input.push_back(static_cast<char>("the quick brown fox "[random() % 20]));
    for (int bits : {9, 13}) {
        const Bytes packed = compress(input, bits);
        for (int trial = 0; trial < test::damageRounds(bits == 9 ? 1500 : 500); ++trial) {
            try {
                Bytes out = expand(test::flipped(packed, random, 3));
                EXPECT_LE(out.size(), size_t(255) * 5 * (size_t(1) << 13) * 64);
            } catch (const un::exception&) {
            }
        }
    }
}

} // namespace
