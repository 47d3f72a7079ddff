// Benchmarks are named PAIR/SIDE/FILE, where SIDE is "cratewerk" or the peer
// library; bench/report.py lines the sides of each pair up and prints ratios.
#include <benchmark/benchmark.h>

BENCHMARK_MAIN();
