// The gzip reader's expansion against zlib (gzip framing) and libdeflate's
// gzip decompression, and the bzip2 reader's against libbz2 alone (our
// overhead), over each corpus file.
#include <benchmark/benchmark.h>
#include <bzlib.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstring>
#include <map>
#include <stdexcept>

#include "bench.Corpus.h"
#include "format/bz2/bz2.Decoder.h"
#include "format/gz/gz.Decoder.h"
#include "stream/stream.Array.h"

namespace {

// A seekable view of memory, which the gzip decoder needs between members.
class MemoryInput : public stream::random::Input {
public:
    MemoryInput(const char* data, size_t size) : data_(data), size_(size) {}
    int read() override { return at_ < size_ ? static_cast<unsigned char>(data_[at_++]) : -1; }
    uint32_t read(char* buffer, uint32_t count) override {
        const size_t n = std::min<size_t>(count, size_ - at_);
        std::memcpy(buffer, data_ + at_, n);
        at_ += n;
        return static_cast<uint32_t>(n);
    }
    uint64_t tell() const override { return at_; }
    uint64_t size() const override { return size_; }
    void seek(uint64_t position) override { at_ = position < size_ ? position : size_; }

private:
    const char* data_;
    size_t size_;
    size_t at_ = 0;
};

// One corpus file as gzip made by zlib at level 6, and as bzip2 at level 9.
const std::vector<char>& gzipped(size_t index) {
    static std::map<size_t, std::vector<char>> cache;
    if (auto found = cache.find(index); found != cache.end()) return found->second;
    const auto& data = bench::corpus()[index].data;
    z_stream z{};
    deflateInit2(&z, 6, Z_DEFLATED, 16 + 15, 8, Z_DEFAULT_STRATEGY);
    std::vector<char> out(deflateBound(&z, static_cast<uLong>(data.size())) + 64);
    z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    z.avail_in = static_cast<uInt>(data.size());
    z.next_out = reinterpret_cast<Bytef*>(out.data());
    z.avail_out = static_cast<uInt>(out.size());
    if (deflate(&z, Z_FINISH) != Z_STREAM_END) throw std::runtime_error("zlib deflate failed");
    out.resize(z.total_out);
    deflateEnd(&z);
    return cache.emplace(index, std::move(out)).first->second;
}

const std::vector<char>& bzipped(size_t index) {
    static std::map<size_t, std::vector<char>> cache;
    if (auto found = cache.find(index); found != cache.end()) return found->second;
    const auto& data = bench::corpus()[index].data;
    std::vector<char> out(data.size() + data.size() / 100 + 1024);
    unsigned int size = static_cast<unsigned int>(out.size());
    if (BZ2_bzBuffToBuffCompress(out.data(), &size, const_cast<char*>(data.data()),
                                 static_cast<unsigned int>(data.size()), 9, 0, 0) != BZ_OK)
        throw std::runtime_error("libbz2 compression failed");
    out.resize(size);
    return cache.emplace(index, std::move(out)).first->second;
}

void finish(benchmark::State& state, size_t expanded, size_t compressed) {
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(expanded));
    state.counters["compressed"] = double(compressed);
}

void gzipCratewerk(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const auto& packed = gzipped(index);
    std::vector<char> result(data.size());
    format::gz::Decoder decoder;
    for (auto _ : state) {
        MemoryInput in(packed.data(), packed.size());
        stream::ArrayOutput out(result.data(), static_cast<uint32_t>(result.size()));
        decoder.process(in, out);
        benchmark::DoNotOptimize(result.data());
    }
    if (result != data) state.SkipWithError("gzip result differs");
    finish(state, data.size(), packed.size());
}

void gzipZlib(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const auto& packed = gzipped(index);
    std::vector<char> result(data.size());
    for (auto _ : state) {
        z_stream z{};
        inflateInit2(&z, 16 + 15);
        z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
        z.avail_in = static_cast<uInt>(packed.size());
        z.next_out = reinterpret_cast<Bytef*>(result.data());
        z.avail_out = static_cast<uInt>(result.size());
        const int status = inflate(&z, Z_FINISH);
        inflateEnd(&z);
        if (status != Z_STREAM_END) state.SkipWithError("zlib inflate failed");
        benchmark::DoNotOptimize(result.data());
    }
    finish(state, data.size(), packed.size());
}

void gzipLibdeflate(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const auto& packed = gzipped(index);
    std::vector<char> result(data.size());
    libdeflate_decompressor* decompressor = libdeflate_alloc_decompressor();
    for (auto _ : state) {
        size_t written = 0;
        if (libdeflate_gzip_decompress(decompressor, packed.data(), packed.size(), result.data(), result.size(),
                                       &written) != LIBDEFLATE_SUCCESS)
            state.SkipWithError("libdeflate failed");
        benchmark::DoNotOptimize(result.data());
    }
    libdeflate_free_decompressor(decompressor);
    finish(state, data.size(), packed.size());
}

void bzip2Cratewerk(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const auto& packed = bzipped(index);
    std::vector<char> result(data.size());
    format::bz2::Decoder decoder;
    for (auto _ : state) {
        stream::ArrayInput in(packed.data(), static_cast<uint32_t>(packed.size()));
        stream::ArrayOutput out(result.data(), static_cast<uint32_t>(result.size()));
        decoder.process(in, out);
        benchmark::DoNotOptimize(result.data());
    }
    if (result != data) state.SkipWithError("bzip2 result differs");
    finish(state, data.size(), packed.size());
}

void bzip2Libbz2(benchmark::State& state, size_t index) {
    const auto& data = bench::corpus()[index].data;
    const auto& packed = bzipped(index);
    std::vector<char> result(data.size());
    for (auto _ : state) {
        unsigned int size = static_cast<unsigned int>(result.size());
        if (BZ2_bzBuffToBuffDecompress(result.data(), &size, const_cast<char*>(packed.data()),
                                       static_cast<unsigned int>(packed.size()), 0, 0) != BZ_OK)
            state.SkipWithError("libbz2 failed");
        benchmark::DoNotOptimize(result.data());
    }
    finish(state, data.size(), packed.size());
}

const int registered = [] {
    const char* names[] = {"text", "code", "records"};
    for (size_t i = 0; i < 3; ++i) {
        benchmark::RegisterBenchmark((std::string("Gzip/cratewerk/") + names[i]).c_str(), gzipCratewerk, i);
        benchmark::RegisterBenchmark((std::string("Gzip/zlib/") + names[i]).c_str(), gzipZlib, i);
        benchmark::RegisterBenchmark((std::string("Gzip/libdeflate/") + names[i]).c_str(), gzipLibdeflate, i);
        benchmark::RegisterBenchmark((std::string("Bzip2/cratewerk/") + names[i]).c_str(), bzip2Cratewerk, i);
        benchmark::RegisterBenchmark((std::string("Bzip2/libbz2/") + names[i]).c_str(), bzip2Libbz2, i);
    }
    return 0;
}();

}  // namespace
