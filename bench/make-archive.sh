#!/usr/bin/env bash
# Makes a large device archive for the benchmark (see bench/README.md).
# Usage: bench/make-archive.sh [--distinct] DIR [FILES [RECORDERS]]
#        (defaults: 1000000 files, 4 recorders)
# DIR must not exist. By default every recording is a hard link to one real one-minute
# recording of the example device, so a million take seconds and little disk; with
# --distinct each is a sparse file of its own (two blocks: the head and, 30 MiB on, the
# moov), as a recorder writes them. Builds make_archive first (bench/build.sh), unless
# BENCH_MAKE_ARCHIVE names one.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
distinct=()
if [ "${1:-}" = --distinct ]; then
  distinct=(--distinct)
  shift
fi
dir=${1:?usage: bench/make-archive.sh [--distinct] DIR [FILES [RECORDERS]]}
files=${2:-1000000}
recorders=${3:-4}
clip=$root/examples/device/archive/1/front_20261118T070000Z.mp4
make_archive=${BENCH_MAKE_ARCHIVE:-$("$root/bench/build.sh" make_archive)/bench/make_archive}
"$make_archive" "${distinct[@]}" "$dir" "$files" "$recorders" "$clip"
