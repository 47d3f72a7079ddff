// Arsenic at its default block size (2^20) against libbz2 at block size 9,
// compression and expansion, over each corpus file.
#include <benchmark/benchmark.h>
#include <bzlib.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "algorithm/arsenic/arsenic.Compressor.h"
#include "algorithm/arsenic/arsenic.Decompressor.h"
#include "bench.Corpus.h"
#include "stream/stream.Vector.h"

namespace {

std::vector<char> arsenicCompress(const std::vector<char>& data) {
    std::vector<char> packed;
    stream::VectorInput in(data);
    stream::VectorOutput out(packed);
    algorithm::arsenic::Compressor(algorithm::arsenic::defaultBlockBits).process(in, out);
    return packed;
}

std::vector<char> bzip2Compress(const std::vector<char>& data) {
    std::vector<char> packed(data.size() + data.size() / 100 + 600);
    unsigned int size = static_cast<unsigned int>(packed.size());
    if (BZ2_bzBuffToBuffCompress(packed.data(), &size, const_cast<char*>(data.data()),
                                 static_cast<unsigned int>(data.size()), 9, 0, 0) != BZ_OK)
        throw std::runtime_error("BZ2_bzBuffToBuffCompress failed");
    packed.resize(size);
    return packed;
}

void compressArsenic(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    size_t size = 0;
    algorithm::arsenic::Compressor compressor(algorithm::arsenic::defaultBlockBits);
    std::vector<char> packed;
    for (auto _ : state) {
        packed.clear();
        stream::VectorInput in(data);
        stream::VectorOutput out(packed);
        size = compressor.process(in, out);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(size);
}

void compressBzip2(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    size_t size = 0;
    for (auto _ : state) size = bzip2Compress(data).size();
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(size);
}

void expandArsenic(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const std::vector<char> packed = arsenicCompress(data);
    algorithm::arsenic::FastDecompressor decompressor;
    std::vector<char> result;
    result.reserve(data.size());
    for (auto _ : state) {
        result.clear();
        stream::VectorInput in(packed);
        stream::VectorOutput out(result);
        decompressor.process(in, out);
    }
    if (result != data) state.SkipWithError("Arsenic round trip differs");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(packed.size());
}

void expandBzip2(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    std::vector<char> packed = bzip2Compress(data);
    std::vector<char> result(data.size());
    for (auto _ : state) {
        unsigned int size = static_cast<unsigned int>(result.size());
        if (BZ2_bzBuffToBuffDecompress(result.data(), &size, packed.data(), static_cast<unsigned int>(packed.size()), 0,
                                       0) != BZ_OK)
            state.SkipWithError("BZ2_bzBuffToBuffDecompress failed");
    }
    if (result != data) state.SkipWithError("bzip2 round trip differs");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(packed.size());
}

const int registered = [] {
    const char* names[] = {"text", "code", "records"};
    for (size_t i = 0; i < 3; ++i) {
        benchmark::RegisterBenchmark((std::string("ArsenicCompress/cratewerk/") + names[i]).c_str(), compressArsenic, i)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("ArsenicCompress/libbz2/") + names[i]).c_str(), compressBzip2, i)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("ArsenicExpand/cratewerk/") + names[i]).c_str(), expandArsenic, i)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((std::string("ArsenicExpand/libbz2/") + names[i]).c_str(), expandBzip2, i)
            ->Unit(benchmark::kMillisecond);
    }
    return 0;
}();

} // namespace
