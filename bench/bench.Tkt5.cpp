// Expanding a tkt5 archive end to end, from the archive file on disk to the
// files written, with one archive per method over each corpus file. Beside
// the codec benchmarks (ISPExpand, ArsenicExpand) it shows what the reader
// adds to the codec: headers, CRC, progress and file output.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "../tests/support/tkt5.Builder.h"
#include "bench.Corpus.h"
#include "engine/t5.Reader.h"

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

const int registered = [] {
    const char* names[] = {"text", "code", "records"};
    const std::pair<const char*, uint8_t> methods[] = {
        {"Stored", test::tkt5::stored}, {"ISP", test::tkt5::isp}, {"Arsenic", test::tkt5::arsenic}};
    for (const auto& [label, method] : methods)
        for (size_t i = 0; i < 3; ++i)
            benchmark::RegisterBenchmark((std::string("Tkt5Expand") + label + "/cratewerk/" + names[i]).c_str(),
                                         [i, m = method](benchmark::State& state) { expandArchive(state, i, m); });
    return 0;
}();

} // namespace
