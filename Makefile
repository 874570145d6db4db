# The two commands of the README: `make demo` and `make test` (`./demo` and `./test`
# install make and the rest first on a bare machine). Also `make install` (PREFIX,
# DESTDIR), `make package` (a .deb), `make cross-test` (armhf and arm64 under qemu) and `make fuzz`.
# PRESET names the configure, build and test presets of CMakePresets.json: default, ci
# (warnings as errors), release, sanitize, static. Each builds in its own folder.
PRESET ?= default
BUILD = $(if $(filter default ci,$(PRESET)),build,build-$(PRESET))
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

# Configuring finds every package the build needs. When that fails, install-deps
# installs whatever is missing and configuring runs once more; a build with everything
# in place asks dpkg nothing.
configure:
	@cmake --preset $(PRESET) $(CMAKE_FLAGS) >/dev/null || \
	  { echo "make: configuring failed; installing what is missing, then once more" >&2 && \
	    ./scripts/install-deps && cmake --preset $(PRESET) $(CMAKE_FLAGS) >/dev/null; }

build: configure
	@cmake --build --preset $(PRESET) -j $(JOBS)

test: build
	@ctest --preset $(PRESET) -j $(JOBS)

# Every fuzz target for FUZZ_SECONDS each (the fuzz preset: clang).
fuzz:
	@FUZZ_SECONDS=$(FUZZ_SECONDS) ./scripts/fuzz

# The demo builds only the program it runs.
demo: configure
	@cmake --build --preset $(PRESET) -j $(JOBS) --target archive
	@./scripts/demo $(BUILD)/src/main/archive

install: build
	@DESTDIR="$(DESTDIR)" cmake --install $(BUILD) --prefix "$(PREFIX)"

package: build
	@cd $(BUILD) && cpack -G DEB

# Both ARM targets, or ARCH=armhf or ARCH=arm64 alone.
cross-test:
	@./scripts/cross-test $(ARCH)

# The folders of every preset.
clean:
	rm -rf build build-*
