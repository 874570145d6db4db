# The two commands of the README: `make demo` and `make test` (`./demo` and `./test`
# install make and the rest first on a bare machine). Also `make install` (PREFIX,
# DESTDIR), `make package` (a .deb), `make cross-test` (arm64 under qemu) and `make fuzz`.
BUILD ?= build
CROSS_BUILD ?= build-arm64
CMAKE_FLAGS ?=
FUZZ_SECONDS ?= 60
JOBS ?= $(shell nproc 2>/dev/null || echo 2)
PREFIX ?= /usr/local
DESTDIR ?=

# The build prints its own progress; the folder changes of make under cmake are noise.
MAKEFLAGS += --no-print-directory

.PHONY: all deps configure build test demo fuzz install package cross-test clean

all: build

deps:
	@./scripts/install-deps

configure: deps
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# Every fuzz target for FUZZ_SECONDS each (needs clang; scripts/install-deps has it).
fuzz: deps
	@FUZZ_SECONDS=$(FUZZ_SECONDS) ./scripts/fuzz

# The demo builds only the program it runs.
demo: configure
	@cmake --build $(BUILD) -j $(JOBS) --target archive
	@./scripts/demo $(BUILD)/src/main/archive

install: build
	@DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

package: build
	@cd $(BUILD) && cpack -G DEB

cross-test:
	@./scripts/cross-test $(CROSS_BUILD)

clean:
	rm -rf $(BUILD) build-sanitize build-fuzz $(CROSS_BUILD)
