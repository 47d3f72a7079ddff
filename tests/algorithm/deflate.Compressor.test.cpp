// The Deflate compressors: every level reads back through our own Inflate,
// levels 1 to 9 make exactly zlib's stream of that level (the level table is
// zlib's), and the strongest setting is smaller than level 9.
#include "algorithm/deflate/deflate.Compressor.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <string>
#include <vector>

#include "algorithm/deflate/deflate.Decompressor.h"
#include "algorithm/deflate/flate.compressor.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"

namespace {

std::vector<char> sample(size_t text, size_t noise) {
    std::vector<char> data;
    std::mt19937 random(3);
    for (size_t i = 0; data.size() < text; ++i) {
        const std::string line = "entry " + std::to_string(i % 4099) + " of a sample that repeats\n";
        data.insert(data.end(), line.begin(), line.end());
    }
    for (size_t i = 0; i < noise; ++i) data.push_back(static_cast<char>(random()));
    return data;
}

std::vector<char> compress(stream::Transform& compressor, const std::vector<char>& data) {
    std::vector<char> packed;
    stream::ArrayInput in(data.data(), static_cast<uint32_t>(data.size()));
    stream::VectorOutput out(packed);
    const uint64_t written = compressor.process(in, out);
    EXPECT_EQ(written, packed.size());
    return packed;
}

std::vector<char> inflate(const std::vector<char>& packed, size_t size) {
    std::vector<char> result(size + 1);
    algorithm::deflate::Decompressor decompressor;
    stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
    stream::ArrayOutput out(result.data(), static_cast<uint32_t>(result.size()));
    result.resize(decompressor.process(in, out));
    return result;
}

std::vector<char> zlibRaw(const std::vector<char>& data, int level) {
    z_stream z{};
    deflateInit2(&z, level, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    std::vector<char> out(deflateBound(&z, static_cast<uLong>(data.size())));
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    EXPECT_EQ(deflate(&z, Z_FINISH), Z_STREAM_END);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

TEST(DeflateCompressor, EveryLevelIsZlibsStreamAndReadsBack) {
    const std::vector<std::vector<char>> inputs = {{}, {'x'}, sample(300000, 0), sample(20000, 150000)};
    for (int level = 1; level <= 9; ++level) {
        for (const auto& data : inputs) {
            algorithm::deflate::Compressor compressor(level);
            const std::vector<char> packed = compress(compressor, data);
            EXPECT_EQ(packed, zlibRaw(data, level)) << "level " << level << ", " << data.size() << " bytes";
            EXPECT_EQ(inflate(packed, data.size()), data) << "level " << level;
        }
    }
}

TEST(FlateCompressor, IsSmallerThanLevel9AndReadsBack) {
    const std::vector<char> data = sample(400000, 30000);
    algorithm::deflate::Compressor nine(9);
    const size_t ninth = compress(nine, data).size();
    for (int setting = 1; setting <= 3; ++setting) {
        flate::compressor best(setting);
        const std::vector<char> packed = compress(best, data);
        EXPECT_LT(packed.size(), ninth) << "setting " << setting;
        EXPECT_EQ(inflate(packed, data.size()), data) << "setting " << setting;
    }
    flate::compressor best(3);
    EXPECT_EQ(inflate(compress(best, {}), 0), std::vector<char>());
}

}  // namespace
