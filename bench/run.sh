#!/usr/bin/env bash
# Times `archive` on a large generated archive against find pipelines and against the
# floor of reading the folders, and checks the team's targets. See bench/README.md.
#
# Environment (all optional):
#   BENCH_COLD       1: cold cache, as root: distinct recordings, the page cache dropped
#                    before every timed run, the cold targets          (0: warm cache)
#   BENCH_DISTINCT   1: distinct sparse recordings instead of hard links (cold: always)
#   BENCH_FILES      recordings to generate              (1000000 warm, 200000 cold)
#   BENCH_RECORDERS  recorders they are spread over      (4)
#   BENCH_DIR        where the archive is generated
#                    (/tmp/archive-bench-<files>x<recorders>[-distinct])
#   BENCH_RUNS       timed runs of each command; the median is shown   (5 warm, 3 cold)
#   BENCH_DEPTHS     files in flight to try, e.g. "64 128 256 512": `archive ls all` with
#                    ARCHIVE_READ_DEPTH=D and `floor -d D pipe` for each
#   BENCH_BUILD      build folder                        (build-bench)
#   BENCH_BUILD_TYPE CMake build type                    (RelWithDebInfo)
#   BENCH_BIN        an `archive` binary to time instead of building one
#   BENCH_BASE_BIN   an earlier `archive` binary, timed in the same run as "before"
# Other variables reach every command as they are (ARCHIVE_READ_DEPTH, ARCHIVE_IO_URING).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
# Switches: unset, empty or 0 is off, anything else on.
on() { case "${1:-0}" in 0) ;; *) echo 1 ;; esac; }
cold=$(on "${BENCH_COLD:-}")
if [ -n "$cold" ] && [ "$(id -u)" != 0 ]; then
  echo "run.sh: BENCH_COLD=1 drops the page cache before every run, which only root may do;" \
       "run it as root (sudo -E bench/run.sh)" >&2
  exit 1
fi
distinct=$(on "${BENCH_DISTINCT:-}")
[ -n "$cold" ] && distinct=1
files=${BENCH_FILES:-$([ -n "$cold" ] && echo 200000 || echo 1000000)}
recorders=${BENCH_RECORDERS:-4}
dir=${BENCH_DIR:-/tmp/archive-bench-${files}x${recorders}${distinct:+-distinct}}
runs=${BENCH_RUNS:-$([ -n "$cold" ] && echo 3 || echo 5)}
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

# The tool, the floor and the generator, from one build (bench/build.sh).
targets=(floor make_archive)
[ -z "${BENCH_BIN:-}" ] && targets+=(archive)
echo "== building ${targets[*]}"
build=$("$root/bench/build.sh" "${targets[@]}")
bin=${BENCH_BIN:-$build/src/main/archive}
floor=$build/bench/floor

# The archive: generated once, kept between runs. bench.env is written last, so a folder
# without it is an interrupted generation.
made() {  # DIR holds a whole archive of the size and kind asked for
  grep -qx "FILES=$files" "$dir/bench.env" 2>/dev/null || return 1
  local kind
  kind=$(sed -n 's/^DISTINCT=//p' "$dir/bench.env")
  [ "${kind:-0}" = "${distinct:-0}" ]
}
if [ -d "$dir" ] && ! made; then
  echo "== removing the incomplete or different archive $dir"
  rm -rf "$dir"
fi
if [ ! -d "$dir" ]; then
  echo "== generating $dir"
  BENCH_MAKE_ARCHIVE=$build/bench/make_archive \
    "$root/bench/make-archive.sh" ${distinct:+--distinct} "$dir" "$files" "$recorders"
fi
# Dropping the page cache empties it only for files that live on a disk.
if [ -n "$cold" ] && [ "$(stat -f -c %T "$dir")" = tmpfs ]; then
  echo "run.sh: $dir is on tmpfs, which lives in the page cache: give BENCH_DIR on a disk" >&2
  exit 1
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
# What the two commands that read no header must do at the least: counting stats the
# files of the archive and trash folders and reads the names of the AFU queue; the
# newest 20 with their flags read the names of the archive and marker folders.
markers=$(for d in "${DIRS[@]}"; do printf ' %s/.afu %s/.locked %s/.downloaded %s/.recording' "$d" "$d" "$d" "$d"; done)
add fcount  "floor: stat archive+trash, .afu names" \
            "$floor stat $dirs $(printf ' %s/.trash' "${DIRS[@]}") getdents $(printf ' %s/.afu' "${DIRS[@]}")"
add fnames  "floor: names of archive+markers" "$floor getdents $dirs$markers"
add fread   "floor read"                     "$floor read $dirs"
add fseq    "floor seq"                      "$floor seq $dirs"
add furing  "floor uring"                    "$floor uring $dirs"
add fpipe   "floor pipe"                     "$floor pipe $dirs"
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
  add b_seq   "before: ls all (sequential)"  "ARCHIVE_IO_URING=0 $BENCH_BASE_BIN ls all"
  tool_keys="$tool_keys b_ls20 b_lsall b_json b_stat b_seq"
fi
if [ -n "$cold" ]; then
  # Cold, every run reads from the disk: the listing on both paths, counting, and their
  # floors; the pipelined floor also with 64 files in flight.
  add fpipe64 "floor pipe, 64 in flight"     "$floor -d 64 pipe $dirs"
  keys=(lsall lsseq fseq fpipe fpipe64 stat fstat)
  [ -n "${BENCH_BASE_BIN:-}" ] && keys+=(b_lsall b_seq b_stat)
fi
# The files in flight: the tool's (when it reads ARCHIVE_READ_DEPTH) and the floor's.
for d in ${BENCH_DEPTHS:-}; do
  add "lsdepth$d" "archive ls all, ARCHIVE_READ_DEPTH=$d" "ARCHIVE_READ_DEPTH=$d $bin ls all"
  add "fpdepth$d" "floor pipe, $d in flight"  "$floor -d $d pipe $dirs"
  tool_keys="$tool_keys lsdepth$d"
done

if [ -z "$cold" ]; then
  echo "== warming the cache"
  "$floor" seq $dirs >/dev/null
  find "$dir" >/dev/null
fi

echo "== checking that the tool and find select the same files"
# The file names (with extension) in the tool's output, text or JSON.
names() { grep -o 'cam[0-9]*_[0-9]\{8\}T[0-9]\{6\}Z[^[:space:]",/.]*\.[[:alnum:]]\+' | sort -u; }
check() {
  if [ "$2" = "$3" ]; then echo "ok    $1: $2"; else echo "DIFF  $1: tool $2, against $3"; fi
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
check "floor pipe = floor seq" "$("$floor" pipe $dirs)" "$("$floor" seq $dirs)"
if [ -n "$distinct" ]; then
  # A sparse copy parses as its clip: the same duration for every recording.
  check "durations = the clip's" "$("$bin" ls -f D all 2>/dev/null | sort -u | tr '\n' ' ')" \
    "$("$bin" ls -f D --path "$root/examples/device/archive/1" --name front_20261118T070000Z \
       --exts mp4 2>/dev/null | tr '\n' ' ')"
fi
echo "      stat all:  $("$bin" stat all 2>&1 | tr '\n\t' '  ')"
echo "      find/awk:  $(bash -c "${cmd[findsum]}")  (archive folders only; stat also counts the queue)"

load=$(cut -d' ' -f1-3 /proc/loadavg)
results=results${cold:+-cold}.txt
if [ -n "$cold" ]; then
  echo "== timing: $runs runs each, the page cache dropped before every run"
else
  echo "== timing: $runs runs each, after one warm-up run"
fi
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
median() { sort -n | awk '{v[NR] = $1} END {print (NR % 2) ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2}'; }
for k in "${keys[@]}"; do
  failed[$k]=
  [ -z "$cold" ] && { bash -c "${cmd[$k]}" >/dev/null 2>&1 || failed[$k]=1; }
  : > "$tmp/times"
  : > "$tmp/cpu"
  : > "$tmp/rss"
  for ((i = 0; i < runs; i++)); do
    [ -n "$cold" ] && { sync; echo 3 > /proc/sys/vm/drop_caches; }
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
  if [ -n "$cold" ]; then
    echo "COLD cache: the page cache dropped (sync; echo 3 > /proc/sys/vm/drop_caches) before every run"
  else
    echo "warm cache"
  fi
  if [ -n "$distinct" ]; then kind="distinct sparse files (head, moov 30 MiB on)"; else kind="hard links to one clip"; fi
  echo "recordings: $kind, on $(stat -f -c %T "$dir")${ARCHIVE_READ_DEPTH:+; ARCHIVE_READ_DEPTH=$ARCHIVE_READ_DEPTH for the tool}"
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
  bytes_per_file() {  # key limit: peak memory of a tool command per file listed
    local v
    v=$(awk -v r="${rss[$1]}" -v n="$LISTED" 'BEGIN {printf "%.1f", r * 1024 / n}')
    printf '%-46s %6s %6s %6s  %s\n' "bytes/file at peak, ${label[$1]#archive }" "$v" "$2" "" \
      "$(verdict "$v" "$2" "$1")"
  }
  if [ -n "$cold" ]; then
    target "full listing / pipelined floor"       lsall fpipe    1.30
    target "full listing / sequential path"       lsall lsseq    0.35
    target "counting / stat floor"                stat  fstat    1.00
    target "pipelined floor, 64 / 256 in flight (info)" fpipe64 fpipe -
    target "pipelined floor / sequential floor (info)"  fpipe fseq    -
    target "full listing / sequential floor (info)"     lsall fseq    -
    target "sequential listing / sequential floor (info)" lsseq fseq  -
    for k in lsall stat; do bytes_per_file "$k" -; done
  else
    target "full listing / pipelined floor"       lsall fpipe    1.30
    target "full listing JSON / pipelined floor"  lsjson fpipe   1.50
    target "counting / stat floor"                stat  fstat    1.10
    target "counting / its floor (archive+trash stat, .afu)" stat fcount 1.10
    target "newest 20 / getdents floor"           ls20  getdents 1.50
    target "newest 20 / its floor (archive+marker names)" ls20 fnames 1.50
    for k in ls20 lsall lsjson stat; do bytes_per_file "$k" 33; done
    target "full listing / sequential floor (info)"      lsall fseq  -
    target "full listing JSON / sequential floor (info)" lsjson fseq -
    target "pipelined floor / sequential floor (info)"   fpipe fseq  -
    target "io_uring floor / sequential floor (info)" furing fseq -
    target "sequential listing / sequential floor" lsseq fseq    -
    target "sequential JSON / sequential floor"    jsonseq fseq  -
  fi
  for d in ${BENCH_DEPTHS:-}; do
    target "ls all, depth $d / floor pipe, depth $d (info)" "lsdepth$d" "fpdepth$d" -
    target "ls all, depth $d / floor pipe (info)" "lsdepth$d" fpipe -
  done
  if [ -n "${BENCH_BASE_BIN:-}" ]; then
    target "sequential listing / before, sequential" lsseq b_seq 1.00
    target "full listing / before"              lsall b_lsall  1.00
    target "counting / before"                  stat  b_stat   1.00
    if [ -z "$cold" ]; then
      target "sequential JSON / before"         jsonseq b_json 1.00
      target "newest 20 / before"               ls20  b_ls20   1.00
      target "before: listing / sequential floor (info)" b_lsall fseq -
      target "before: JSON / sequential floor (info)"    b_json fseq -
    fi
  fi
  if [ -z "$cold" ]; then  # the find pipelines are timed warm only
    echo
    echo "earlier targets"
    target "newest 20 / find pipeline"            ls20  find20   0.30
    target "one day / find -newermt pipeline"     lsday findday  0.30
    target "one day / find -name pipeline (info)" lsday findname -
    target "counting / find+awk"                  stat  findsum  1.20
    target "full listing / open-and-read floor (info)" lsall fread -
    target "full listing / find+sort (info)"      lsall findall  -
  fi
} | tee "$out/$results"
echo
echo "(table saved in bench/out/$results; the archive stays in $dir: rm -rf it when done)"
