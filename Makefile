# The commands a newcomer needs: `make run` (the editor), `make test` and
# `make bench`; and `make fuzz` for a while of fuzzing. Each one installs the Debian packages
# that are missing first.

BUILD_RUN   ?= build/run
BUILD_TEST  ?= build/test
BUILD_BENCH ?= build/bench
BUILD_TSAN  ?= build/tsan
BUILD_FUZZ  ?= build/fuzz
# Seconds of fuzzing per target.
FUZZ_SECONDS ?= 180
JOBS        ?= $(shell nproc)
CMAKE_GEN   := -G Ninja
CCACHE      := $(shell command -v ccache 2>/dev/null)
CMAKE_EXTRA := $(if $(CCACHE),-DCMAKE_CXX_COMPILER_LAUNCHER=$(CCACHE) -DCMAKE_C_COMPILER_LAUNCHER=$(CCACHE))

export ASAN_OPTIONS  ?= detect_leaks=1:abort_on_error=0:strict_string_checks=1
export UBSAN_OPTIONS ?= print_stacktrace=1:halt_on_error=1
export LSAN_OPTIONS  ?= suppressions=$(CURDIR)/scripts/lsan.supp:print_suppressions=0
export TSAN_OPTIONS  ?= halt_on_error=1:second_deadlock_stack=1

.PHONY: deps run editor test bench fuzz clean

deps:
	@scripts/install-deps

# An optimised build of the editor, started with the files given in FILES.
run: editor
	$(BUILD_RUN)/src/app/korvane $(FILES)

editor: deps
	cmake -S . -B $(BUILD_RUN) $(CMAKE_GEN) $(CMAKE_EXTRA) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKV_BUILD_TESTS=OFF
	cmake --build $(BUILD_RUN) -j $(JOBS) --target korvane

# Debug build with AddressSanitizer and UndefinedBehaviorSanitizer; every test through CTest.
# Then a second, small build of only the tests that start threads (label
# `threads`) with ThreadSanitizer.
test: deps
	cmake -S . -B $(BUILD_TEST) $(CMAKE_GEN) $(CMAKE_EXTRA) -DCMAKE_BUILD_TYPE=Debug -DKV_SANITIZE=ON
	cmake --build $(BUILD_TEST) -j $(JOBS)
	cd $(BUILD_TEST) && ctest --output-on-failure -j $(JOBS)
	cmake -S . -B $(BUILD_TSAN) $(CMAKE_GEN) $(CMAKE_EXTRA) -DCMAKE_BUILD_TYPE=Debug -DKV_TSAN=ON
	cmake --build $(BUILD_TSAN) -j $(JOBS)
	cd $(BUILD_TSAN) && ctest --output-on-failure -j $(JOBS) -L threads --no-tests=error

# Optimised build in its own folder; runs every benchmark.
bench: deps
	cmake -S . -B $(BUILD_BENCH) $(CMAKE_GEN) $(CMAKE_EXTRA) -DCMAKE_BUILD_TYPE=Release -DKV_BUILD_TESTS=OFF -DKV_BUILD_BENCH=ON
	cmake --build $(BUILD_BENCH) -j $(JOBS)
	@set -e; color=$$([ -t 1 ] && echo auto || echo false); \
	for b in $(BUILD_BENCH)/bench/kv_bench_*; do echo "== $$b"; $$b --benchmark_color=$$color; done

# libFuzzer programs built with clang in their own folder; each runs over its
# corpus in fuzz/corpus/ and the inputs that reach new code are added to it.
fuzz:
	@scripts/install-deps fuzz
	cmake -S . -B $(BUILD_FUZZ) $(CMAKE_GEN) $(CMAKE_EXTRA) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ -DKV_BUILD_TESTS=OFF -DKV_FUZZ=ON
	cmake --build $(BUILD_FUZZ) -j $(JOBS) --target kv_fuzzers
	scripts/run-fuzzers $(BUILD_FUZZ) $(FUZZ_SECONDS)

clean:
	rm -rf build
