#!/usr/bin/env bash
# Builds TARGETs (the tool `archive`, the benchmark's `floor` and `make_archive`) for the
# benchmark and prints the build folder. With CMakePresets.json, through its `bench`
# preset (folder build-bench, ARCHIVE_BENCH=ON, RelWithDebInfo); without it, or when
# BENCH_BUILD or BENCH_BUILD_TYPE asks for another folder or type, through the same
# settings given by hand. The log goes to bench/out/build.log.
# Usage: bench/build.sh TARGET...
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
out=$root/bench/out
mkdir -p "$out"
jobs=$(nproc)
if [ -f "$root/CMakePresets.json" ] && [ -z "${BENCH_BUILD:-}${BENCH_BUILD_TYPE:-}" ]; then
  build=$root/build-bench
  configure() { (cd "$root" && cmake --preset bench); }
  compile() { (cd "$root" && cmake --build --preset bench --target "$@" -j "$jobs"); }
else
  build=${BENCH_BUILD:-$root/build-bench}
  configure() {
    cmake -S "$root" -B "$build" -DARCHIVE_BENCH=ON \
      -DCMAKE_BUILD_TYPE="${BENCH_BUILD_TYPE:-RelWithDebInfo}"
  }
  compile() { cmake --build "$build" --target "$@" -j "$jobs"; }
fi
if ! { configure && compile "$@"; } > "$out/build.log" 2>&1; then
  tail -n 20 "$out/build.log" >&2
  echo "build.sh: the build failed; its log is in bench/out/build.log" >&2
  exit 1
fi
echo "$build"
