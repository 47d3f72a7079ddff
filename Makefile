# A thin driver over CMake and Ninja. Every target that needs a dependency runs
# the setup script first; it installs nothing when all is there.
GENERATOR := -G Ninja
JOBS ?= $(shell nproc)

# The Wine prefix that tools/setup.sh prepares, for the x86_64 Windows tests.
export WINEPREFIX ?= $(HOME)/.wine-cratewerk
export WINEDEBUG ?= -all
export WINEDLLOVERRIDES ?= mscoree,mshtml=

# Both mingw-w64 builds configure this same top-level CMakeLists.txt with a
# toolchain file, so every target of the project appears in them by itself.
WINDOWS_ARCHS := i686 x86_64
windows_configure = cmake -S . -B build/windows-$(1) $(GENERATOR) -DCMAKE_BUILD_TYPE=Release \
	-DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/toolchain-mingw-$(1).cmake -DCRATEWERK_BENCH=OFF

.PHONY: all setup release test test-slow asan test-asan bench clean windows windows-tests demo dialogs fuzz

all: release

setup:
	@bash tools/setup.sh

release: setup
	@cmake -S . -B build/release $(GENERATOR) -DCMAKE_BUILD_TYPE=Release
	@cmake --build build/release -j $(JOBS)

test: release windows-tests
	@cd build/release && ctest -LE slow --output-on-failure -j $(JOBS)
	@cd build/windows-x86_64 && ctest -L windows --output-on-failure -j $(JOBS)

# The tests labelled slow (minutes, or gigabytes of data), which `make test` leaves out.
test-slow: release
	@cd build/release && ctest -L slow --output-on-failure

# Everything of both Windows builds: build/windows-i686, build/windows-x86_64.
windows: setup
	@$(foreach arch,$(WINDOWS_ARCHS),$(call windows_configure,$(arch)) >/dev/null && \
		cmake --build build/windows-$(arch) -j $(JOBS) && ) true

# Only the test programs of the x86_64 build, which `make test` runs under Wine.
windows-tests: setup
	@$(call windows_configure,x86_64) >/dev/null
	@cmake --build build/windows-x86_64 -j $(JOBS) --target cratewerk_tests

# The static libraries of the Windows builds and the 32-bit build, every target
# at once (each build's configure makes its own otherwise, when it needs it).
THIRD_PARTY_TARGETS := x86_64-w64-mingw32 i686-linux-gnu i686-w64-mingw32
.PHONY: third-party
third-party: setup
	@pids=""; for t in $(THIRD_PARTY_TARGETS); do bash third_party/build.sh $$t build/third_party & pids="$$pids $$!"; done; \
		status=0; for p in $$pids; do wait $$p || status=1; done; exit $$status

# The unit and plug-in tests built with g++ -m32 and run: what a 64-bit build
# hides (32-bit long, sizes and pointers in the call block, overflows).
.PHONY: test-32
test-32: setup
	@cmake -S . -B build/linux-i686 $(GENERATOR) -DCMAKE_BUILD_TYPE=Release -DCRATEWERK_BENCH=OFF \
		-DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/toolchain-linux-i686.cmake >/dev/null
	@cmake --build build/linux-i686 -j $(JOBS) --target cratewerk_tests
	@cd build/linux-i686 && ctest -L unit --output-on-failure -j $(JOBS)

# The plug-in for FileMaker Pro alone, checked to import nothing but system DLLs.
.PHONY: fmx
fmx: setup
	@$(call windows_configure,i686) >/dev/null
	@cmake --build build/windows-i686 -j $(JOBS) --target cratewerk_plugin_module
	@bash tools/check-imports.sh build/windows-i686/Cratewerk.fmx

# The command-line tool and the host emulator on the bundled samples.
demo: release
	@bash tools/demo.sh build/release

# A PNG of each dialog of the plug-in, shown under Wine on a virtual display:
# build/dialogs/CRWK_PROGRESS.png, CRWK_PASSWORD.png, IDD_COMDLG32.png.
dialogs:
	@bash tools/setup.sh dialogs
	@$(call windows_configure,x86_64) >/dev/null
	@cmake --build build/windows-x86_64 -j $(JOBS) --target dialogs
	@bash tools/dialogs/dialogs.sh build/windows-x86_64 build/dialogs

asan: setup
	@cmake -S . -B build/asan $(GENERATOR) -DCMAKE_BUILD_TYPE=Debug -DCRATEWERK_SANITIZE=ON -DCRATEWERK_BENCH=OFF
	@cmake --build build/asan -j $(JOBS) --target cratewerk_tests

test-asan: asan
	@cd build/asan && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 ctest -L unit --output-on-failure -j $(JOBS)

# Each pair runs side by side in one binary; report.py prints MB/s and ratios.
bench: release
	@bash bench/corpus.sh build/corpus
	@CRATEWERK_CORPUS=build/corpus build/release/bench/cratewerk_bench --benchmark_min_time=0.2 \
		--benchmark_out=build/bench.json --benchmark_out_format=json $(BENCH_ARGS)
	@python3 bench/report.py build/bench.json

# The libFuzzer harnesses (clang, in build/fuzz), each run FUZZ_S seconds on its corpus.
# Line tables are all that a finding's stack trace needs, and build faster than full debug information.
FUZZ_S ?= 60
fuzz: setup
	@cmake -S . -B build/fuzz $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
		-DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O2 -gline-tables-only -DNDEBUG" \
		-DCRATEWERK_FUZZ=ON -DCRATEWERK_TESTS=OFF -DCRATEWERK_BENCH=OFF >/dev/null
	@cmake --build build/fuzz -j $(JOBS) --target fuzzers
	@bash fuzz/run.sh build/fuzz $(FUZZ_S)

clean:
	rm -rf build
