#!/usr/bin/env bash
# Times `archive` on a large generated archive against find pipelines and against the
# floor of reading the folders, and checks the team's targets. See bench/README.md.
#
# Environment (all optional):
#   BENCH_FILES      recordings to generate              (1000000)
#   BENCH_RECORDERS  recorders they are spread over      (4)
#   BENCH_DIR        where the archive is generated      (/tmp/archive-bench-<files>x<recorders>)
#   BENCH_RUNS       timed runs of each command; the median is shown   (5)
#   BENCH_BUILD      build folder of the tool            (build-bench)
#   BENCH_BUILD_TYPE CMake build type                    (RelWithDebInfo)
#   BENCH_BIN        an `archive` binary to time instead of building one
#   BENCH_BASE_BIN   an earlier `archive` binary, timed in the same run as "before"
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
files=${BENCH_FILES:-1000000}
recorders=${BENCH_RECORDERS:-4}
dir=${BENCH_DIR:-/tmp/archive-bench-${files}x${recorders}}
runs=${BENCH_RUNS:-5}
build=${BENCH_BUILD:-$root/build-bench}
out=$root/bench/out
mkdir -p "$out"

# /usr/bin/time gives the peak memory (Debian package `time`).
if [ ! -x /usr/bin/time ]; then
  if [ "$(id -u)" = 0 ] && command -v apt-get >/dev/null; then
    # A fresh container has no package lists yet.
    apt-get update -qq && apt-get install -y -q time >/dev/null
  else
    echo "run.sh: needs /usr/bin/time (Debian package 'time')" >&2
    exit 1
  fi
fi

if [ -n "${BENCH_BIN:-}" ]; then
  bin=$BENCH_BIN
else
  echo "== building the tool in $build"
  if ! { cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE="${BENCH_BUILD_TYPE:-RelWithDebInfo}" &&
         cmake --build "$build" --target archive -j "$(nproc)"; } > "$out/build.log" 2>&1; then
    tail -n 20 "$out/build.log" >&2
    echo "run.sh: the build failed; its log is in bench/out/build.log" >&2
    exit 1
  fi
  bin=$build/src/main/archive
fi
cc -O2 -Wall -Wextra -o "$out/floor" "$root/bench/floor.c" -luring
floor=$out/floor

# The archive: generated once, kept between runs. bench.env is written last, so a folder
# without it is an interrupted generation.
if [ -d "$dir" ] && ! grep -qx "FILES=$files" "$dir/bench.env" 2>/dev/null; then
  echo "== removing the incomplete or different archive $dir"
  rm -rf "$dir"
fi
if [ ! -d "$dir" ]; then
  echo "== generating $dir"
  "$root/bench/make-archive.sh" "$dir" "$files" "$recorders"
fi
# shellcheck disable=SC1091
source "$dir/bench.env"
export DEVICE_CONFIG=$dir/config.json
export TZ=UTC
dirs="${DIRS[*]}"
lo_date=$(date -u -d "@$DAY_LO" '+%Y-%m-%d %H:%M:%S')
hi_date=$(date -u -d "@$((DAY_HI + 1))" '+%Y-%m-%d %H:%M:%S')

# Each benchmark: key, label, command line (run by bash, stdout to /dev/null).
keys=()
declare -A label cmd med cpu rss failed
add() { keys+=("$1"); label[$1]=$2; cmd[$1]=$3; }
add ls20    "archive ls --limit 20 all"      "$bin ls --limit 20 all"
add find20  "find -printf | sort -rn | head -20" \
            "find $dirs -maxdepth 1 -type f -printf '%T@ %s %p\n' | sort -rn | head -20"
add lsday   "archive ls --st-range DAY all"  "$bin ls --st-range $DAY_LO,$DAY_HI all"
add findday "find -newermt DAY | sort -rn" \
            "find $dirs -maxdepth 1 -type f -newermt '$lo_date' ! -newermt '$hi_date' -printf '%T@ %s %p\n' | sort -rn"
add findname "find -name '*_${DAY_NAME}T*' | sort -rn" \
            "find $dirs -maxdepth 1 -type f -name '*_${DAY_NAME}T*' -printf '%T@ %s %p\n' | sort -rn"
add lsall   "archive ls all"                 "$bin ls all"
add lsjson  "archive ls --json all"          "$bin ls --json all"
add findall "find -printf | sort"            "find $dirs -maxdepth 1 -type f -printf '%T@ %s %p\n' | sort"
add stat    "archive stat all"               "$bin stat all"
add findsum "find -printf %s | awk"          "find $dirs -maxdepth 1 -type f -printf '%s\n' | awk '{s+=\$1} END {print NR, s}'"
add getdents "floor getdents"                "$floor getdents $dirs"
add fstat   "floor stat"                     "$floor stat $dirs"
add fread   "floor read"                     "$floor read $dirs"
add fseq    "floor seq"                      "$floor seq $dirs"
add furing  "floor uring"                    "$floor uring $dirs"
# The library reads one file after another where io_uring is missing or refused; the
# variable forces that path.
add lsseq   "archive ls all (sequential)"    "ARCHIVE_IO_URING=0 $bin ls all"
add jsonseq "archive ls --json all (sequential)" "ARCHIVE_IO_URING=0 $bin ls --json all"
tool_keys="ls20 lsday lsall lsjson stat lsseq jsonseq"
if [ -n "${BENCH_BASE_BIN:-}" ]; then
  add b_ls20  "before: ls --limit 20 all"    "$BENCH_BASE_BIN ls --limit 20 all"
  add b_lsall "before: ls all"               "$BENCH_BASE_BIN ls all"
  add b_json  "before: ls --json all"        "$BENCH_BASE_BIN ls --json all"
  add b_stat  "before: stat all"             "$BENCH_BASE_BIN stat all"
  tool_keys="$tool_keys b_ls20 b_lsall b_json b_stat"
fi

echo "== warming the cache"
"$floor" read $dirs >/dev/null
find "$dir" >/dev/null

echo "== checking that the tool and find select the same files"
# The file names (with extension) in the tool's output, text or JSON.
names() { grep -o 'cam[0-9]*_[0-9]\{8\}T[0-9]\{6\}Z[^[:space:]",/.]*\.[[:alnum:]]\+' | sort -u; }
check() {
  if [ "$2" = "$3" ]; then echo "ok    $1: $2"; else echo "DIFF  $1: tool $2, find $3"; fi
}
check "newest 20, lines" "$("$bin" ls --limit 20 all 2>/dev/null | wc -l)" 20
check "newest 20, names" \
  "$("$bin" ls --limit 20 all 2>/dev/null | names | md5sum | cut -c1-8)" \
  "$(find $dirs -maxdepth 1 -type f -printf '%f\n' | awk -F_ '{print substr($2, 1, 16), $0}' \
     | sort -r | head -20 | cut -d' ' -f2 | sort | md5sum | cut -c1-8)"
check "one day, names" \
  "$("$bin" ls --st-range "$DAY_LO,$DAY_HI" all 2>/dev/null | names | md5sum | cut -c1-8)" \
  "$(find $dirs -maxdepth 1 -type f -name "*_${DAY_NAME}T*" -printf '%f\n' | sort | md5sum | cut -c1-8)"
check "full listing, lines" "$("$bin" ls all 2>/dev/null | wc -l)" "$LISTED"
check "full listing, sequential = read ahead" \
  "$(ARCHIVE_IO_URING=0 "$bin" ls all 2>/dev/null | md5sum | cut -c1-8)" \
  "$("$bin" ls all 2>/dev/null | md5sum | cut -c1-8)"
echo "      stat all:  $("$bin" stat all 2>&1 | tr '\n\t' '  ')"
echo "      find/awk:  $(bash -c "${cmd[findsum]}")  (archive folders only; stat also counts the queue)"

load=$(cut -d' ' -f1-3 /proc/loadavg)
echo "== timing: $runs runs each, after one warm-up run"
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
median() { sort -n | awk '{v[NR] = $1} END {print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2}'; }
for k in "${keys[@]}"; do
  failed[$k]=
  bash -c "${cmd[$k]}" >/dev/null 2>&1 || failed[$k]=1
  : > "$tmp/times"
  : > "$tmp/cpu"
  : > "$tmp/rss"
  for ((i = 0; i < runs; i++)); do
    t0=$(date +%s%N)
    /usr/bin/time -f '%M %U %S' -o "$tmp/one" bash -c "${cmd[$k]}" >/dev/null 2>"$tmp/err" || failed[$k]=1
    t1=$(date +%s%N)
    echo $(((t1 - t0) / 1000)) >> "$tmp/times"
    tail -n 1 "$tmp/one" | awk '{print $1 >> "'"$tmp/rss"'"; print ($2 + $3) * 1e6 >> "'"$tmp/cpu"'"}'
  done
  med[$k]=$(median < "$tmp/times")   # microseconds
  cpu[$k]=$(median < "$tmp/cpu")     # microseconds, user + system
  rss[$k]=$(sort -n "$tmp/rss" | tail -n 1)  # KiB, the largest of the runs
  printf '  %-40s %9.3f s%s\n' "${label[$k]}" "$(awk -v u="${med[$k]}" 'BEGIN {print u / 1e6}')" \
    "${failed[$k]:+  (FAILED: $(head -c 200 "$tmp/err" | tr '\n' ' '))}"
done

# ratio A B: median of A over median of B.
ratio() { awk -v a="${med[$1]}" -v b="${med[$2]}" 'BEGIN {printf "%.2f", (b > 0) ? a / b : 0}'; }
cpu_ratio() { awk -v a="${cpu[$1]}" -v b="${cpu[$2]}" 'BEGIN {printf "%.2f", (b > 0) ? a / b : 0}'; }
verdict() {  # value limit [failed-key]; a limit of "-" is shown for information
  if [ "$2" = - ]; then echo; return; fi
  if [ -n "${3:+${failed[$3]}}" ]; then echo "FAIL (command failed)"; return; fi
  awk -v v="$1" -v l="$2" 'BEGIN {print (v <= l) ? "met" : "MISSED"}'
}

{
  echo
  echo "archive benchmark, $(date -u '+%Y-%m-%d'), $(nproc) cores, $(free -g | awk '/^Mem:/ {print $2}') GiB"
  echo "$FILES recordings in $RECORDERS recorders: $LISTED listed, $TRASHED in trash, $QUEUED queued," \
       "$LOCKED locked, $DOWNLOADED downloaded, $RECORDING recording; day $DAY_NAME (UTC)"
  echo "median of $runs runs (wall time, and user + system CPU time); peak RSS is the largest of"
  echo "the runs; load average at the start: $load"
  echo
  printf '%-42s %8s %8s %9s %11s\n' "command" "wall s" "CPU s" "peak MiB" "bytes/file"
  for k in "${keys[@]}"; do
    printf '%-42s %8.3f %8.3f %9.1f %11s\n' "${label[$k]}${failed[$k]:+ (failed)}" \
      "$(awk -v u="${med[$k]}" 'BEGIN {print u / 1e6}')" \
      "$(awk -v u="${cpu[$k]}" 'BEGIN {print u / 1e6}')" \
      "$(awk -v r="${rss[$k]}" 'BEGIN {print r / 1024}')" \
      "$(case " $tool_keys " in *" $k "*) awk -v r="${rss[$k]}" -v n="$LISTED" \
           'BEGIN {printf "%.1f", r * 1024 / n}';; *) echo "";; esac)"
  done
  echo
  printf '%-46s %6s %6s %6s  %s\n' "target (ratios of wall times)" "ratio" "limit" "CPU" "verdict"
  target() {  # text tool-key anchor-key limit
    local r
    r=$(ratio "$2" "$3")
    printf '%-46s %6s %6s %6s  %s\n' "$1" "$r" "$4" "$(cpu_ratio "$2" "$3")" "$(verdict "$r" "$4" "$2")"
  }
  target "full listing / sequential floor"      lsall fseq     0.60
  target "full listing JSON / sequential floor" lsjson fseq    0.70
  target "counting / stat floor"                stat  fstat    1.10
  target "newest 20 / getdents floor"           ls20  getdents 2.00
  for k in ls20 lsall lsjson stat; do
    printf '%-46s %6s %6s %6s  %s\n' "bytes/file at peak, ${label[$k]#archive }" \
      "$(awk -v r="${rss[$k]}" -v n="$LISTED" 'BEGIN {printf "%.1f", r * 1024 / n}')" 48 "" \
      "$(verdict "$(awk -v r="${rss[$k]}" -v n="$LISTED" 'BEGIN {printf "%.1f", r * 1024 / n}')" 48 "$k")"
  done
  target "io_uring floor / sequential floor (info)" furing fseq -
  target "sequential listing / sequential floor" lsseq fseq    -
  target "sequential JSON / sequential floor"    jsonseq fseq  -
  if [ -n "${BENCH_BASE_BIN:-}" ]; then
    target "sequential listing / before"        lsseq b_lsall  1.00
    target "sequential JSON / before"           jsonseq b_json 1.00
    target "counting / before"                  stat  b_stat   1.00
    target "newest 20 / before"                 ls20  b_ls20   1.00
    target "before: listing / sequential floor (info)" b_lsall fseq -
    target "before: JSON / sequential floor (info)"    b_json fseq -
  fi
  echo
  echo "earlier targets"
  target "newest 20 / find pipeline"            ls20  find20   0.30
  target "one day / find -newermt pipeline"     lsday findday  0.30
  target "one day / find -name pipeline (info)" lsday findname -
  target "counting / find+awk"                  stat  findsum  1.20
  target "full listing / open-and-read floor (info)" lsall fread -
  target "full listing / find+sort (info)"      lsall findall  -
} | tee "$out/results.txt"
echo
echo "(table saved in bench/out/results.txt; the archive stays in $dir: rm -rf it when done)"
