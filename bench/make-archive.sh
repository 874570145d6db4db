#!/usr/bin/env bash
# Makes a large device archive for the benchmark (see bench/README.md).
# Usage: bench/make-archive.sh DIR [FILES [RECORDERS]]   (defaults: 1000000 files, 4 recorders)
# DIR must not exist. Every recording is a hard link to one real one-minute recording
# of the example device, so a million take seconds and little disk.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir=${1:?usage: bench/make-archive.sh DIR [FILES [RECORDERS]]}
files=${2:-1000000}
recorders=${3:-4}
clip=$root/examples/device/archive/1/front_20261118T070000Z.mp4
out=$root/bench/out
mkdir -p "$out"
cc -O2 -Wall -Wextra -o "$out/make_archive" "$root/bench/make_archive.c"
"$out/make_archive" "$dir" "$files" "$recorders" "$clip"
