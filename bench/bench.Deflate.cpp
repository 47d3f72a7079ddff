// Deflate compression for Zip creation: our level 6 against zlib's deflate at
// level 6 and libdeflate at level 6, with the compressed sizes; and the
// strongest setting (what `cratewerk zip --best` uses) beside libdeflate 12.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <stdexcept>
#include <vector>

#include "algorithm/deflate/deflate.Compressor.h"
#include "algorithm/deflate/deflate.Decompressor.h"
#include "algorithm/deflate/flate.compressor.h"
#include "bench.Corpus.h"
#include "stream/stream.Array.h"
#include "stream/stream.Vector.h"

namespace {

template <typename Compressor>
void deflateCratewerk(benchmark::State& state, size_t index, int level) {
    const auto& data = bench::corpus()[index].data;
    std::vector<char> packed;
    for (auto _ : state) {
        packed.clear();
        Compressor compressor(level);
        stream::ArrayInput in(data.data(), static_cast<uint32_t>(data.size()));
        stream::VectorOutput out(packed);
        compressor.process(in, out);
        benchmark::DoNotOptimize(packed.data());
    }
    // What we write must read back through our own Inflate.
    std::vector<char> result(data.size());
    algorithm::deflate::Decompressor inflate;
    stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
    stream::ArrayOutput out(result.data(), static_cast<uint32_t>(result.size()));
    inflate.process(in, out);
    if (result != data) state.SkipWithError("Deflate output does not read back");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(packed.size());
}

void deflateZlib(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    size_t size = 0;
    std::vector<char> packed(compressBound(static_cast<uLong>(data.size())) + 64);
    for (auto _ : state) {
        z_stream z{};
        deflateInit2(&z, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
        z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
        z.avail_in = static_cast<uInt>(data.size());
        z.next_out = reinterpret_cast<Bytef*>(packed.data());
        z.avail_out = static_cast<uInt>(packed.size());
        if (deflate(&z, Z_FINISH) != Z_STREAM_END) state.SkipWithError("zlib deflate failed");
        size = z.total_out;
        deflateEnd(&z);
        benchmark::DoNotOptimize(packed.data());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(size);
}

void deflateLibdeflate(benchmark::State& state, size_t index, int level) {
    const auto& data = bench::corpus()[index].data;
    libdeflate_compressor* compressor = libdeflate_alloc_compressor(level);
    std::vector<char> packed(libdeflate_deflate_compress_bound(compressor, data.size()));
    size_t size = 0;
    for (auto _ : state) {
        size = libdeflate_deflate_compress(compressor, data.data(), data.size(), packed.data(), packed.size());
        benchmark::DoNotOptimize(packed.data());
    }
    libdeflate_free_compressor(compressor);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(size);
}

const int registered = [] {
    const char* names[] = {"text", "code", "records"};
    for (size_t i = 0; i < 3; ++i) {
        const std::string file = names[i];
        benchmark::RegisterBenchmark(("Deflate6/cratewerk/" + file).c_str(), [i](benchmark::State& s) {
            deflateCratewerk<algorithm::deflate::Compressor>(s, i, 6);
        })->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Deflate6/zlib/" + file).c_str(), deflateZlib, i)->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("Deflate6/libdeflate/" + file).c_str(), deflateLibdeflate, i, 6)
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("DeflateBest/cratewerk/" + file).c_str(), [i](benchmark::State& s) {
            deflateCratewerk<flate::compressor>(s, i, 3);
        })->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark(("DeflateBest/libdeflate/" + file).c_str(), deflateLibdeflate, i, 12)
            ->Unit(benchmark::kMillisecond);
    }
    return 0;
}();

}  // namespace
