# A thin driver over CMake and Ninja. Every target that needs a dependency runs
# the setup script first; it installs nothing when all is there.
GENERATOR := -G Ninja
JOBS ?= $(shell nproc)

.PHONY: all setup release test asan test-asan bench clean

all: release

setup:
	@bash tools/setup.sh

release: setup
	@cmake -S . -B build/release $(GENERATOR) -DCMAKE_BUILD_TYPE=Release
	@cmake --build build/release -j $(JOBS)

test: release
	@cd build/release && ctest --output-on-failure -j $(JOBS)

asan: setup
	@cmake -S . -B build/asan $(GENERATOR) -DCMAKE_BUILD_TYPE=Debug -DCRATEWERK_SANITIZE=ON -DCRATEWERK_BENCH=OFF
	@cmake --build build/asan -j $(JOBS)

test-asan: asan
	@cd build/asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest -L unit --output-on-failure -j $(JOBS)

# Each pair runs side by side in one binary; report.py prints MB/s and ratios.
bench: release
	@bash bench/corpus.sh build/corpus
	@CRATEWERK_CORPUS=build/corpus build/release/bench/cratewerk_bench --benchmark_min_time=0.2 \
		--benchmark_out=build/bench.json --benchmark_out_format=json $(BENCH_ARGS)
	@python3 bench/report.py build/bench.json

clean:
	rm -rf build
