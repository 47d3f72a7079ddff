// ISP against zlib: compression at level 4 (the level of the archive writers)
// against deflate at level 6, and expansion against inflate, on each corpus
// file. "compressed" is the size of each side's own stream.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <stdexcept>

#include "algorithm/isp/isp.Compressor.h"
#include "algorithm/isp/isp.Decompressor.h"
#include "bench.Corpus.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"

namespace {

std::vector<char> ispCompress(const std::vector<char>& data) {
    algorithm::isp::Preprocessor preprocessor;
    algorithm::isp::Coder coder;
    algorithm::isp::MemoryCompressor compressor(preprocessor, coder);
    compressor.level(algorithm::isp::Preprocessor::tkt5CompressionLevel);
    std::vector<char> packed;
    stream::ArrayInput in(data.data(), static_cast<uint32_t>(data.size()));
    stream::VectorOutput out(packed);
    compressor.process(in, out);
    return packed;
}

std::vector<char> zlibCompress(const std::vector<char>& data) {
    uLongf size = compressBound(static_cast<uLong>(data.size()));
    std::vector<char> packed(size);
    if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
                  static_cast<uLong>(data.size()), 6) != Z_OK)
        throw std::runtime_error("compress2 failed");
    packed.resize(size);
    return packed;
}

void compressCratewerk(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    algorithm::isp::Preprocessor preprocessor;
    algorithm::isp::Coder coder;
    algorithm::isp::MemoryCompressor compressor(preprocessor, coder);
    compressor.level(algorithm::isp::Preprocessor::tkt5CompressionLevel);
    std::vector<char> packed;
    packed.reserve(data.size() + data.size() / 8 + 1024);
    uint64_t size = 0;
    for (auto _ : state) {
        packed.clear();
        stream::ArrayInput in(data.data(), static_cast<uint32_t>(data.size()));
        stream::VectorOutput out(packed);
        size = compressor.process(in, out);
        benchmark::DoNotOptimize(packed.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(size);
}

void compressZlib(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    std::vector<char> packed(compressBound(static_cast<uLong>(data.size())));
    uLongf size = 0;
    for (auto _ : state) {
        size = static_cast<uLongf>(packed.size());
        compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
                  static_cast<uLong>(data.size()), 6);
        benchmark::DoNotOptimize(packed.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(size);
}

void expandCratewerk(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const std::vector<char> packed = ispCompress(data);
    std::vector<char> plain(data.size());
    algorithm::isp::Decompressor decompressor;
    for (auto _ : state) {
        stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
        stream::ArrayOutput out(plain.data(), static_cast<uint32_t>(plain.size()));
        decompressor.process(in, out);
        benchmark::DoNotOptimize(plain.data());
    }
    if (plain != data) state.SkipWithError("ISP round trip differs");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(packed.size());
}

void expandZlib(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const std::vector<char> packed = zlibCompress(data);
    std::vector<char> plain(data.size());
    for (auto _ : state) {
        uLongf size = static_cast<uLongf>(plain.size());
        uncompress(reinterpret_cast<Bytef*>(plain.data()), &size, reinterpret_cast<const Bytef*>(packed.data()),
                   static_cast<uLong>(packed.size()));
        benchmark::DoNotOptimize(plain.data());
    }
    if (plain != data) state.SkipWithError("zlib round trip differs");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(packed.size());
}

const int registered = [] {
    const char* names[] = {"text", "code", "records"};
    for (size_t i = 0; i < 3; ++i) {
        benchmark::RegisterBenchmark((std::string("ISPCompress/cratewerk/") + names[i]).c_str(), compressCratewerk, i);
        benchmark::RegisterBenchmark((std::string("ISPCompress/zlib/") + names[i]).c_str(), compressZlib, i);
        benchmark::RegisterBenchmark((std::string("ISPExpand/cratewerk/") + names[i]).c_str(), expandCratewerk, i);
        benchmark::RegisterBenchmark((std::string("ISPExpand/zlib/") + names[i]).c_str(), expandZlib, i);
    }
    return 0;
}();

} // namespace
