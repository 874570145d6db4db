# The two commands of the README: `make demo` and `make test`.
BUILD ?= build
CMAKE_FLAGS ?=
FUZZ_SECONDS ?= 60
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

# The build prints its own progress; the folder changes of make under cmake are noise.
MAKEFLAGS += --no-print-directory

.PHONY: all deps build test demo fuzz clean

all: build

deps:
	@./scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

# Every fuzz target for FUZZ_SECONDS each (needs clang; scripts/install-deps has it).
fuzz: deps
	@FUZZ_SECONDS=$(FUZZ_SECONDS) ./scripts/fuzz

demo: build
	@./scripts/demo $(BUILD)/src/main/archive

clean:
	rm -rf $(BUILD) build-sanitize build-fuzz
