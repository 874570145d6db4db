# The two commands of the README: `make demo` and `make test`.
BUILD ?= build
CMAKE_FLAGS ?=
JOBS ?= $(shell nproc 2>/dev/null || echo 2)

# The build prints its own progress; the folder changes of make under cmake are noise.
MAKEFLAGS += --no-print-directory

.PHONY: all deps build test demo clean

all: build

deps:
	@./scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) $(CMAKE_FLAGS) >/dev/null
	@cmake --build $(BUILD) -j $(JOBS)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

demo: build
	@./scripts/demo $(BUILD)/src/main/archive

clean:
	rm -rf $(BUILD) build-sanitize
