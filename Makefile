# make run   installs what is missing, builds, starts the program
# make test  installs what is missing, builds, runs every test
BUILD      ?= build
JOBS       ?= $(shell nproc)
, := ,
CMAKE_ARGS ?=

.PHONY: all setup build run test test-main test-asan test-tsan bench package install clean

all: build

setup:
	@sh scripts/setup.sh

build: setup
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo $(CMAKE_ARGS) >/dev/null
	cmake --build $(BUILD) -j $(JOBS)

run: build
	@sh scripts/run.sh $(BUILD)

# Every pass prints how long it took; at the end the skips that named a
# missing optional tool are listed by name (any other skip fails its test).
test: test-main test-asan test-tsan
	@cat $(BUILD)/optional-skips.txt build-asan/optional-skips.txt build-tsan/optional-skips.txt \
	     2>/dev/null | sort -u > .skipped.txt; \
	 if [ -s .skipped.txt ]; then echo "Skipped, an optional tool missing:"; sed 's/^/  /' .skipped.txt; \
	 else echo "No test skipped."; fi; rm -f .skipped.txt

# $(call timed,NAME,COMMAND): runs the command and prints the pass's time.
timed = t0=$$(date +%s); $(2); rc=$$?; echo "$(1): $$(( $$(date +%s) - t0 )) s"; exit $$rc

test-main: build
	@rm -f $(BUILD)/optional-skips.txt
	@$(call timed,test-main,cd $(BUILD) && ctest --output-on-failure -j $(JOBS))

# Unit tests again under AddressSanitizer and UndefinedBehaviorSanitizer.
test-asan: setup
	@rm -f build-asan/optional-skips.txt
	@$(call timed,test-asan,cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DMERVANE_BUILD_BENCH=OFF \
	      -DMERVANE_SANITIZE=address$(,)undefined >/dev/null && \
	  cmake --build build-asan -j $(JOBS) && \
	  cd build-asan && ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
	      ctest --output-on-failure -j $(JOBS) -L unit)

# The engine's tests under ThreadSanitizer with real threads. GCC's OpenMP
# runtime is not built for ThreadSanitizer, so its forks and barriers would
# be invisible and every parallel region would report false races; this
# build uses clang and LLVM's OpenMP runtime instead, whose Archer tool
# (OMP_TOOL_LIBRARIES) tells ThreadSanitizer how the runtime orders the
# threads. The tests run their parallel regions on two threads. Accesses
# inside libraries built without the sanitizer (Qt, OpenCV, the OpenMP
# runtime itself) are not tracked (ignore_noninstrumented_modules); ours are.
# What is suppressed, and why, is listed in scripts/tsan.supp.
TSAN_CXX   ?= clang++
ARCHER     ?= /usr/lib/llvm-14/lib/libarcher.so
test-tsan: setup
	@rm -f build-tsan/optional-skips.txt
	@test -f $(ARCHER) || { echo "test-tsan: $(ARCHER) is missing (libomp-14-dev): run scripts/setup.sh"; exit 1; }
	@$(call timed,test-tsan,cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMERVANE_BUILD_BENCH=OFF \
	      -DCMAKE_CXX_COMPILER=$(TSAN_CXX) -DMERVANE_ENGINE_ONLY=ON -DMERVANE_SANITIZE=thread >/dev/null && \
	  cmake --build build-tsan -j $(JOBS) && \
	  cd build-tsan && export OMP_TOOL_LIBRARIES=$(ARCHER) \
	      TSAN_OPTIONS="halt_on_error=1 ignore_noninstrumented_modules=1 suppressions=$(CURDIR)/scripts/tsan.supp" && \
	  ARCHER_OPTIONS=verbose=1 ./tests/engine/engine_kernels --gtest_filter='Threads.*' 2>&1 | \
	      grep -q 'Archer detected OpenMP application with TSan' || \
	      { echo "test-tsan: the OpenMP runtime did not load Archer"; exit 1; } && \
	  ctest --output-on-failure -j $(JOBS) -L tsan)

# make package: build/package/mervane_<version>_amd64.deb (see README).
package: build
	cmake --build $(BUILD) --target package

# make install [DESTDIR=...] [PREFIX=/usr/local]
PREFIX ?= /usr/local
install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

bench: build
	cd $(BUILD) && ./bench/mervane-bench

clean:
	rm -rf $(BUILD) build-asan build-tsan
