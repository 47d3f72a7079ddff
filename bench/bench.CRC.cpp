// CRC-32 against zlib's crc32 and libdeflate's, over each corpus file.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include "bench.Corpus.h"
#include "stream/check/crc.CRC.h"

namespace {

void crcCratewerk(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    algorithm::crc::EthernetCRC crc;
    for (auto _ : state) {
        crc.begin();
        crc.update(data.data(), static_cast<uint32_t>(data.size()));
        benchmark::DoNotOptimize(crc.value());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
}

void crcZlib(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    for (auto _ : state) {
        uLong value = crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size()));
        benchmark::DoNotOptimize(value);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
}

void crcLibdeflate(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    for (auto _ : state) {
        uint32_t value = libdeflate_crc32(0, data.data(), data.size());
        benchmark::DoNotOptimize(value);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
}

const int registered = [] {
    const char* names[] = {"text", "code", "records"};
    for (size_t i = 0; i < 3; ++i) {
        benchmark::RegisterBenchmark((std::string("CRC32/cratewerk/") + names[i]).c_str(), crcCratewerk, i);
        benchmark::RegisterBenchmark((std::string("CRC32/zlib/") + names[i]).c_str(), crcZlib, i);
        benchmark::RegisterBenchmark((std::string("CRC32/libdeflate/") + names[i]).c_str(), crcLibdeflate, i);
    }
    return 0;
}();

} // namespace
