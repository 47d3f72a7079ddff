// The pieces under the Arsenic codec: MSB-first bit streams, the adaptive
// model's halving, the move-to-front symbol coding and the randomiser.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "algorithm/arith/arith.DCC95Coder.h"
#include "algorithm/arith/arith.DCC95Decoder.h"
#include "algorithm/arsenic/arsenic.CompressorModel.h"
#include "algorithm/arsenic/arsenic.DecompressorModel.h"
#include "algorithm/arsenic/arsenic.Randomizer.h"
#include "algorithm/bit.MSB.h"
#include "stream/stream.Vector.h"

namespace {

using namespace algorithm;
using Bytes = std::vector<char>;

TEST(MSBBits, WritesAndReadsMostSignificantFirst) {
    Bytes bytes;
    stream::VectorOutput out(bytes);
    bit::MSBOutput<int32_t> output(out);
    output.write(1);
    output.write(0);
    output.write(0x5, 3);          // 101
    output.write(0x12345678, 32);  // crosses the accumulator's drain
    output.write(1);
    output.flush();
    ASSERT_EQ(bytes.size(), 5u);  // 38 bits
    EXPECT_EQ(static_cast<unsigned char>(bytes[0]), 0xA8);  // 1 0 101 000|10010...
    EXPECT_EQ(static_cast<unsigned char>(bytes[4]), 0xC4);  // ...011000 1 and two bits of padding
    EXPECT_EQ(output.bytesWritten(), 5u);

    stream::VectorInput in(bytes);
    bit::MSBInput<int32_t> input(in);
    EXPECT_EQ(input.read(), 1);
    EXPECT_EQ(input.read(), 0);
    EXPECT_EQ(input.read(3), 5);
    EXPECT_EQ(static_cast<uint32_t>(input.read(32)), 0x12345678u);
    EXPECT_EQ(input.read(), 1);
    EXPECT_EQ(input.read(8), -1);  // only the 2 bits of padding are left: none are taken
    EXPECT_EQ(input.read(2), 0);
    EXPECT_EQ(input.read(), -1);
    EXPECT_TRUE(input.atEnd());
    EXPECT_EQ(input.bytesRead(), 7u);  // five bytes and two fetches that met the end
    EXPECT_EQ(input.misses(), 2u);
}

TEST(ZeroOrderModel, HalvesPastTheLimitAndNeverReachesZero) {
    arsenic::ZeroOrderModel model(4, 20, 4);
    EXPECT_EQ(model.totalFrequency(), 16u);
    model.update(2);  // 4 4 8 4: 20, not past the limit
    EXPECT_EQ(model.totalFrequency(), 20u);
    model.update(2);  // 4 4 12 4 = 24 > 20: halved with rounding up to 2 2 6 2
    EXPECT_EQ(model.totalFrequency(), 12u);
    EXPECT_EQ(model.frequency(2), 6u);
    arsenic::ZeroOrderModel bits(2, 256, 1);
    for (int i = 0; i < 10000; ++i) bits.update(0);
    EXPECT_GE(bits.frequency(1), 1u);
    EXPECT_LE(bits.totalFrequency(), 256u);
    model.reset();
    EXPECT_EQ(model.totalFrequency(), 16u);
    EXPECT_EQ(model.frequency(2), 4u);
}

// Indexes of every class and runs of every length up to 600 and some far
// longer go through the coder and come back as the same sequence.
TEST(ArsenicMTFModel, IndexesAndRunsRoundTrip) {
    std::vector<int> sequence;  // > 0: an index; < 0: a run of that length
    for (int i = 1; i <= 255; ++i) sequence.push_back(i);
    for (int n = 1; n <= 600; ++n) {
        sequence.push_back(-n);
        sequence.push_back(1 + n % 255);
    }
    for (int n : {65535, 65536, 1 << 20, (1 << 24) - 1}) {
        sequence.push_back(-n);
        sequence.push_back(7);
    }
    Bytes bytes;
    {
        stream::VectorOutput out(bytes);
        bit::MSBOutput<int32_t> bits(out);
        arith::DCC95Coder coder(bits);
        arsenic::CompressorMTFModel model(coder);
        for (int v : sequence)
            if (v > 0)
                model.put(v);
            else
                model.run(-v);
        model.end();
        coder.finish();
        bits.flush();
    }
    stream::VectorInput in(bytes);
    bit::MSBInput<int32_t> bits(in);
    arith::DCC95Decoder decoder(bits);
    arsenic::DecompressorMTFModel model(decoder);
    std::vector<int> decoded;
    model.next();
    while (!model.end()) {
        if (model.isRun()) {
            decoded.push_back(-model.get());
        } else {
            decoded.push_back(model.get());
            model.next();
        }
    }
    EXPECT_EQ(decoded, sequence);
    EXPECT_EQ(bits.misses(), 0u);
}

TEST(Randomizer, FlipsAtTheTableDistancesAndUndoesItself) {
    std::vector<char> block(5000, 'a');
    arsenic::Randomizer::randomize(block.data(), static_cast<uint32_t>(block.size()));
    EXPECT_EQ(block[0], 'a');
    EXPECT_EQ(block[238], 'a' ^ 1);
    EXPECT_EQ(block[238 + 86], 'a' ^ 1);
    EXPECT_EQ(block[237], 'a');
    int flipped = 0;
    for (char c : block) flipped += c != 'a';
    EXPECT_GT(flipped, 20);
    arsenic::Randomizer::randomize(block.data(), static_cast<uint32_t>(block.size()));
    EXPECT_EQ(block, std::vector<char>(5000, 'a'));

    // A block shorter than the first distance is untouched; nothing past its end is.
    std::vector<char> small(300, 'b');
    arsenic::Randomizer::randomize(small.data(), 200);
    EXPECT_EQ(small, std::vector<char>(300, 'b'));
}

} // namespace
