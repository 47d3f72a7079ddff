// tkt5 archives end to end, with one archive per method over each corpus
// file. Expanding: from the archive on disk to the files written; beside the
// codec benchmarks (ISPExpand, ArsenicExpand) it shows what the reader adds
// to the codec: headers, CRC, progress and file output. Creating: from the
// file on disk to the archive on disk, against the peers doing the same with
// a file: bzip2 -9 through libbz2 for Arsenic, zlib at level 6 for ISP. Each
// pair runs in repetitions, so that the report's medians ride out a busy machine.
#include <benchmark/benchmark.h>
#include <bzlib.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "../tests/support/tkt5.Builder.h"
#include "bench.Corpus.h"
#include "engine/t5.Reader.h"
#include "engine/t5.Writer.h"

namespace {

namespace fs = std::filesystem;

void expandArchive(benchmark::State& state, size_t index, uint8_t method) {
    const auto& file = bench::corpus()[index];
    const std::string data(file.data.begin(), file.data.end());
    const fs::path folder = fs::temp_directory_path() / ("cratewerk-bench-tkt5-" + std::to_string(::getpid()));
    fs::create_directories(folder);
    const std::string archive = test::tkt5::Builder().build({test::tkt5::Item::file("item", data, method)});
    {
        std::ofstream out(folder / "archive.tkt", std::ios::binary);
        out.write(archive.data(), std::streamsize(archive.size()));
    }
    int run = 0;
    for (auto _ : state) {
        const fs::path output = folder / ("out" + std::to_string(run++));
        tuckett5::Reader reader;
        reader.outputFolder(output.string());
        reader.open((folder / "archive.tkt").string());
        reader.scan();
        reader.decode();
        reader.close();
        state.PauseTiming();
        fs::remove_all(output);
        state.ResumeTiming();
    }
    fs::remove_all(folder);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(data.size()));
    state.counters["compressed"] = double(archive.size());
}

constexpr int repetitions = 5;

std::string readWhole(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeWhole(const fs::path& path, const char* data, size_t size) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(data, std::streamsize(size));
}

// A folder holding the corpus file as "item", removed at the end.
struct Source {
    explicit Source(size_t index) {
        const auto& file = bench::corpus()[index];
        folder = fs::temp_directory_path() / ("cratewerk-bench-create-" + std::to_string(::getpid()));
        fs::create_directories(folder);
        size = file.data.size();
        writeWhole(folder / "item", file.data.data(), size);
    }
    ~Source() { fs::remove_all(folder); }
    fs::path folder;
    size_t size = 0;
};

void createArchive(benchmark::State& state, size_t index, int32_t compression) {
    Source source(index);
    const fs::path archive = source.folder / "archive.tkt";
    for (auto _ : state) {
        tuckett5::Writer writer;
        writer.compression(compression);
        writer.archiveInfo.path = archive.string();
        writer.create({(source.folder / "item").string()});
        state.PauseTiming();
        state.counters["compressed"] = double(fs::file_size(archive));
        fs::remove(archive);
        state.ResumeTiming();
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(source.size));
}

void createBzip2(benchmark::State& state, size_t index) {
    Source source(index);
    for (auto _ : state) {
        const std::string data = readWhole(source.folder / "item");
        std::vector<char> packed(data.size() + data.size() / 100 + 600);
        unsigned int size = static_cast<unsigned int>(packed.size());
        if (BZ2_bzBuffToBuffCompress(packed.data(), &size, const_cast<char*>(data.data()),
                                     static_cast<unsigned int>(data.size()), 9, 0, 0) != BZ_OK)
            state.SkipWithError("BZ2_bzBuffToBuffCompress failed");
        writeWhole(source.folder / "item.bz2", packed.data(), size);
        state.counters["compressed"] = double(size);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(source.size));
}

void createDeflate(benchmark::State& state, size_t index) {
    Source source(index);
    for (auto _ : state) {
        const std::string data = readWhole(source.folder / "item");
        uLongf size = compressBound(uLong(data.size()));
        std::vector<char> packed(size);
        if (compress2(reinterpret_cast<Bytef*>(packed.data()), &size, reinterpret_cast<const Bytef*>(data.data()),
                      uLong(data.size()), 6) != Z_OK)
            state.SkipWithError("compress2 failed");
        writeWhole(source.folder / "item.z", packed.data(), size);
        state.counters["compressed"] = double(size);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(source.size));
}

const int registered = [] {
    const char* names[] = {"text", "code", "records"};
    const std::pair<const char*, uint8_t> methods[] = {
        {"Stored", test::tkt5::stored}, {"ISP", test::tkt5::isp}, {"Arsenic", test::tkt5::arsenic}};
    for (const auto& [label, method] : methods)
        for (size_t i = 0; i < 3; ++i)
            benchmark::RegisterBenchmark((std::string("Tkt5Expand") + label + "/cratewerk/" + names[i]).c_str(),
                                         [i, m = method](benchmark::State& state) { expandArchive(state, i, m); });
    for (size_t i = 0; i < 3; ++i) {
        const std::string file = names[i];
        benchmark::RegisterBenchmark(("Tkt5CreateArsenic/cratewerk/" + file).c_str(),
                                     [i](benchmark::State& state) { createArchive(state, i, 15); })
            ->Unit(benchmark::kMillisecond)->Repetitions(repetitions)->ReportAggregatesOnly(true);
        benchmark::RegisterBenchmark(("Tkt5CreateArsenic/libbz2/" + file).c_str(),
                                     [i](benchmark::State& state) { createBzip2(state, i); })
            ->Unit(benchmark::kMillisecond)->Repetitions(repetitions)->ReportAggregatesOnly(true);
        benchmark::RegisterBenchmark(("Tkt5CreateISP/cratewerk/" + file).c_str(),
                                     [i](benchmark::State& state) { createArchive(state, i, 13); })
            ->Unit(benchmark::kMillisecond)->Repetitions(repetitions)->ReportAggregatesOnly(true);
        benchmark::RegisterBenchmark(("Tkt5CreateISP/zlib/" + file).c_str(),
                                     [i](benchmark::State& state) { createDeflate(state, i); })
            ->Unit(benchmark::kMillisecond)->Repetitions(repetitions)->ReportAggregatesOnly(true);
    }
    return 0;
}();

} // namespace
