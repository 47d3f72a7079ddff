// Classification of one 64 KiB block: a block that matches nothing, where every
// classifier that may stand anywhere looks through the whole block, and a block
// with a Zip header at its start.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "bench.Corpus.h"
#include "engine/engine5.MultiClassifier.h"
#include "format/format.Classifier.h"

namespace {

// Text from the corpus, so that the colons, "b"s and "P"s of ordinary text
// give the classifiers their usual share of near misses.
std::vector<char> missBlock() {
    std::vector<char> block;
    for (const auto& file : bench::corpus())
        if (file.name.find("text") != std::string::npos) block = file.data;
    if (block.empty() && !bench::corpus().empty()) block = bench::corpus()[0].data;
    block.resize(65536, ' ');
    return block;
}

void classify(benchmark::State& state, std::vector<char> block) {
    for (auto _ : state) {
        auto classifiers = engine5::makeClassifiers();
        format::MultiClassifier multi;
        for (auto& one : classifiers) multi.add(one.get());
        multi.classify(block.data(), static_cast<unsigned>(block.size()));
        benchmark::DoNotOptimize(multi.winner);
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(block.size()));
}

void classifyMiss(benchmark::State& state) { classify(state, missBlock()); }

void classifyHit(benchmark::State& state) {
    std::vector<char> block = missBlock();
    const char local[] =
        "PK\x03\x04\x14\x00\x00\x00\x08\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"
        "\x00\x00\x05\x00\x00\x00"
        "a.txt";
    std::copy(local, local + sizeof local - 1, block.begin());
    classify(state, block);
}

BENCHMARK(classifyMiss)->Name("Classify/cratewerk/miss")->Unit(benchmark::kMicrosecond);
BENCHMARK(classifyHit)->Name("Classify/cratewerk/hit")->Unit(benchmark::kMicrosecond);

}  // namespace
