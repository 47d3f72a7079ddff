// Inflate against zlib's inflate and libdeflate's, over each corpus file compressed
// by zlib at level 6.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <map>
#include <stdexcept>

#include "algorithm/deflate/deflate.Decompressor.h"
#include "bench.Corpus.h"
#include "stream/stream.Array.h"

namespace {

// Raw Deflate of one corpus file at zlib level 6, made once.
const std::vector<char>& packed(size_t index) {
    static std::map<size_t, std::vector<char>> cache;
    auto found = cache.find(index);
    if (found != cache.end()) return found->second;
    const auto& data = bench::corpus()[index].data;
    z_stream z{};
    deflateInit2(&z, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    std::vector<char> out(deflateBound(&z, static_cast<uLong>(data.size())));
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    if (deflate(&z, Z_FINISH) != Z_STREAM_END) throw std::runtime_error("zlib deflate failed");
    out.resize(z.total_out);
    deflateEnd(&z);
    return cache.emplace(index, std::move(out)).first->second;
}

void inflateCratewerk(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const auto& compressed = packed(index);
    std::vector<char> result(data.size());
    algorithm::deflate::Decompressor decompressor;
    for (auto _ : state) {
        stream::ArrayInput in(compressed.data(), static_cast<uint32_t>(compressed.size()));
        stream::ArrayOutput out(result.data(), static_cast<uint32_t>(result.size()));
        decompressor.process(in, out);
        benchmark::DoNotOptimize(result.data());
    }
    if (result != data) state.SkipWithError("Inflate result differs");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(compressed.size());
}

void inflateZlib(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const auto& compressed = packed(index);
    std::vector<char> result(data.size());
    for (auto _ : state) {
        z_stream z{};
        inflateInit2(&z, -15);
        z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(compressed.data()));
        z.avail_in = static_cast<uInt>(compressed.size());
        z.next_out = reinterpret_cast<Bytef*>(result.data());
        z.avail_out = static_cast<uInt>(result.size());
        int status = inflate(&z, Z_FINISH);
        inflateEnd(&z);
        if (status != Z_STREAM_END) state.SkipWithError("zlib inflate failed");
        benchmark::DoNotOptimize(result.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(compressed.size());
}

void inflateLibdeflate(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const auto& compressed = packed(index);
    std::vector<char> result(data.size());
    libdeflate_decompressor* decompressor = libdeflate_alloc_decompressor();
    for (auto _ : state) {
        size_t written = 0;
        const libdeflate_result status = libdeflate_deflate_decompress(
            decompressor, compressed.data(), compressed.size(), result.data(), result.size(), &written);
        if (status != LIBDEFLATE_SUCCESS || written != data.size()) state.SkipWithError("libdeflate failed");
        benchmark::DoNotOptimize(result.data());
    }
    libdeflate_free_decompressor(decompressor);
    if (result != data) state.SkipWithError("libdeflate result differs");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(compressed.size());
}

const int registered = [] {
    const char* names[] = {"text", "code", "records"};
    for (size_t i = 0; i < 3; ++i) {
        benchmark::RegisterBenchmark((std::string("Inflate/cratewerk/") + names[i]).c_str(), inflateCratewerk, i);
        benchmark::RegisterBenchmark((std::string("Inflate/zlib/") + names[i]).c_str(), inflateZlib, i);
        benchmark::RegisterBenchmark((std::string("Inflate/libdeflate/") + names[i]).c_str(), inflateLibdeflate, i);
    }
    return 0;
}();

} // namespace
