# The README's commands. `make test` builds and runs every test three times:
# a plain build, one under AddressSanitizer and UndefinedBehaviorSanitizer,
# and one under ThreadSanitizer for the threaded code.
BUILD ?= build
JOBS ?= $(shell nproc)
# Work trees in different folders share cached objects.
export CCACHE_BASEDIR ?= $(CURDIR)
export CCACHE_NOHASHDIR ?= 1
CTEST_FLAGS ?= --output-on-failure -j $(JOBS)

# `make demo` runs the shapes demo and watches it with zelmon top; off a
# terminal it stops after DEMO_SECONDS.
DEMO_SECONDS ?= 20

.PHONY: all deps build demo test test-normal test-asan test-tsan test-windows bench coverage test-share format clean

all: build

deps:
	@cmake/install_deps.sh

$(BUILD)/%/build.ninja: | deps
	cmake -S . -B $(BUILD)/$* -G Ninja $(CMAKE_ARGS_$*)

CMAKE_ARGS_normal = -DCMAKE_BUILD_TYPE=RelWithDebInfo
CMAKE_ARGS_asan = -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE=address,undefined -DZEL_BUILD_BENCH=OFF
CMAKE_ARGS_tsan = -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE=thread -DZEL_BUILD_BENCH=OFF
CMAKE_ARGS_coverage = -DCMAKE_BUILD_TYPE=Debug -DZEL_COVERAGE=ON -DZEL_BUILD_BENCH=OFF

build: $(BUILD)/normal/build.ninja
	cmake --build $(BUILD)/normal -j $(JOBS)

demo: $(BUILD)/normal/build.ninja
	cmake --build $(BUILD)/normal -j $(JOBS) --target zelmon zeldemo zelmonitoring
	@apps/demo/run_demo.sh $(BUILD)/normal/bin $(DEMO_SECONDS)

test: test-normal test-asan test-tsan

test-normal: $(BUILD)/normal/build.ninja
	cmake --build $(BUILD)/normal -j $(JOBS)
	cd $(BUILD)/normal && ctest $(CTEST_FLAGS)

test-asan: $(BUILD)/asan/build.ninja
	cmake --build $(BUILD)/asan -j $(JOBS)
	cd $(BUILD)/asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest $(CTEST_FLAGS)

test-tsan: $(BUILD)/tsan/build.ninja
	cmake --build $(BUILD)/tsan -j $(JOBS)
	cd $(BUILD)/tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=$(CURDIR)/cmake/tsan.supp ctest $(CTEST_FLAGS)

# zelmonitoring.dll, vurnc.dll, vurncore.dll and the tests cross-built for
# 64-bit Windows with MinGW-w64, the tests run under Wine.
test-windows: | deps
	@cmake/test_windows.sh $(BUILD) $(JOBS)

bench: build
	@for b in $(BUILD)/normal/bin/bench_*; do $$b; done

# Line and branch coverage of the plug-in, the platform and the IDL compiler
# by the whole test suite. The per-file reports go beside the build: gcovr
# replaces its output file, so it must never be pointed at /dev/null.
coverage: $(BUILD)/coverage/build.ninja
	cmake --build $(BUILD)/coverage -j $(JOBS)
	find $(BUILD)/coverage -name '*.gcda' -delete
	cd $(BUILD)/coverage && ctest $(CTEST_FLAGS) > ctest.log || (tail -30 ctest.log; exit 1)
	@for part in monitor platform tools; do \
	  echo "== $$part/"; \
	  gcovr -r . --object-directory $(BUILD)/coverage --filter "$$part/" --print-summary \
	    -o $(BUILD)/coverage/coverage-$$part.txt; \
	done

# Apply the code style of .clang-format to every source file.
format:
	@git ls-files '*.c' '*.cc' '*.cpp' '*.h' '*.hpp' | xargs clang-format -i

# Lines of test code against lines of code.
test-share:
	@python3 cmake/test_share.py

clean:
	rm -rf $(BUILD)
