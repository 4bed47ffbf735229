# make run   installs what is missing, builds, starts the program
# make test  installs what is missing, builds, runs every test
BUILD      ?= build
JOBS       ?= $(shell nproc)
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

test: test-main test-asan test-tsan

test-main: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# Unit tests again under AddressSanitizer and UndefinedBehaviorSanitizer.
test-asan: setup
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DMERVANE_BUILD_BENCH=OFF \
	      -DMERVANE_SANITIZE=address,undefined >/dev/null
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=0 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
	      ctest --output-on-failure -j $(JOBS) -L unit

# The engine's tests under ThreadSanitizer (engine only: no widgets needed).
test-tsan: setup
	cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DMERVANE_BUILD_BENCH=OFF \
	      -DMERVANE_ENGINE_ONLY=ON -DMERVANE_SANITIZE=thread >/dev/null
	cmake --build build-tsan -j $(JOBS)
	cd build-tsan && TSAN_OPTIONS="halt_on_error=1 suppressions=$(CURDIR)/scripts/tsan.supp" \
	      ctest --output-on-failure -j $(JOBS) -L tsan

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
