# Set-up, build and tests in two commands: `make run` and `make test`.
BUILD_DIR   ?= build
ASAN_DIR    ?= build-asan
JOBS        ?= $(shell nproc)
EXAMPLE     ?= examples/blinky/blinky.elf
BIN         := $(BUILD_DIR)/bin/elfdwarfdump
PREFIX      ?= /usr/local

FUZZ_DIR    ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_SMOKE_SECONDS ?= 20

.PHONY: all deps build asan fuzz-build run install package test test-release test-asan test-fuzz bench fixtures fuzz clean

all: build

deps:
	@scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=Release > /dev/null
	@cmake --build $(BUILD_DIR) -j$(JOBS)

asan: deps
	@cmake -S . -B $(ASAN_DIR) -DCMAKE_BUILD_TYPE=Debug -DEDD_SANITIZE=ON > /dev/null
	@cmake --build $(ASAN_DIR) -j$(JOBS)

run: build
	$(BIN) -header -sections -symbols-sorted $(EXAMPLE)

# The program, its manual page and its bash completion under PREFIX (DESTDIR for staging).
install: build
	DESTDIR=$(DESTDIR) cmake --install $(BUILD_DIR) --prefix $(PREFIX)

# A Debian package in $(BUILD_DIR), installed under /usr.
package: build
	cd $(BUILD_DIR) && cpack -G DEB

test-release: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j$(JOBS)

# The same suite again on the sanitizer build: any report fails the run.
test-asan: asan
	cd $(ASAN_DIR) && ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --output-on-failure -j$(JOBS)

# A short run of each fuzz target from the committed corpus: what a campaign once
# found must not come back.
test-fuzz: fuzz-build
	fuzz/run-fuzz.sh $(FUZZ_DIR) $(FUZZ_SMOKE_SECONDS) --smoke

test: test-release test-asan test-fuzz

bench: build
	bench/run-bench.sh $(BIN)

fuzz-build: deps
	@cmake -S . -B $(FUZZ_DIR) -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug -DEDD_FUZZ=ON -DEDD_TESTS=OFF > /dev/null
	@cmake --build $(FUZZ_DIR) -j$(JOBS)

# Each libFuzzer target for FUZZ_SECONDS, from the committed corpus and the
# fixtures; findings land in $(FUZZ_DIR)/findings. `make fuzz FUZZ_SECONDS=3600` is a campaign.
fuzz: fuzz-build
	fuzz/run-fuzz.sh $(FUZZ_DIR) $(FUZZ_SECONDS)

fixtures:
	tests/fixtures/build-fixtures.sh

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR) $(FUZZ_DIR)
