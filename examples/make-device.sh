#!/usr/bin/env bash
# Rebuilds examples/device/ from scratch: a device configuration with three recorders and
# the archives of two of them, made of a few tiny test-pattern recordings. Needs ffmpeg,
# which only this script uses; the tool and its tests never do.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
dev=$here/device
clips=$(mktemp -d)
trap 'rm -rf "$clips"' EXIT

ff() { ffmpeg -hide_banner -loglevel error -y "$@"; }
x264=(-c:v libx264 -crf 40 -pix_fmt yuv420p)
# One minute each, like the recorder writes them; 64x48 pixels, 1 or 2 frames a second.
ff -f lavfi -i testsrc=size=64x48:rate=2 -t 60 "${x264[@]}" "$clips/front.mp4"
ff -f lavfi -i testsrc=size=64x48:rate=2 -t 20 "${x264[@]}" "$clips/event.mp4"
ff -f lavfi -i testsrc=size=64x48:rate=1 -t 60 "${x264[@]}" -pat_period 30 -sdt_period 30 \
   "$clips/front.ts"
ff -f lavfi -i smptebars=size=64x48:rate=2 -t 60 -c:v mpeg4 -q:v 31 "$clips/cabin.avi"
ff -f lavfi -i testsrc2=size=64x48:rate=2 -t 60 "${x264[@]}" "$clips/cabin.mov"
ff -f lavfi -i testsrc=size=64x48:rate=1 -frames:v 1 -c:v mjpeg -q:v 31 "$clips/snap.jpg"
# A recording still being written: the first 40 packets (7520 bytes) of a transport stream.
head -c $((188 * 40)) "$clips/front.ts" > "$clips/partial.ts"

rm -rf "$dev"
mkdir -p "$dev"
cat > "$dev/config.json" <<'JSON'
{
  "device": { "model": "example", "serial": "EX-0001" },
  "media": {
    "recorders": [
      { "id": "1", "label": "Front", "archiveDirectory": "archive/1" },
      { "id": "2", "label": "Cabin", "archiveDirectory": "archive/2" },
      { "id": "3", "label": "Rear", "archiveDirectory": "" }
    ]
  }
}
JSON

# rec DIR CLIP NAME [trash] [afu] [locked] [downloaded] [recording]
rec() {
  local dir=$dev/archive/$1 clip=$2 name=$3
  shift 3
  local where=$dir
  for flag in "$@"; do
    case $flag in
      trash) where=$dir/.trash ;;
      *) mkdir -p "$dir/.$flag" && : > "$dir/.$flag/$name" ;;
    esac
  done
  mkdir -p "$where"
  cp "$clips/$clip" "$where/$name"
}

# Recorder 1, Front: mp4 on the 18th, transport streams on the 19th and 20th.
rec 1 front.mp4 front_20261118T065800Z.mp4 trash
rec 1 front.mp4 front_20261118T065900Z.mp4 trash afu   # deleted, still queued for upload
rec 1 front.mp4 front_20261118T070000Z.mp4
rec 1 front.mp4 front_20261118T070100Z.mp4 downloaded
rec 1 event.mp4 front_20261118T070140Z_alarm-12.mp4 locked afu downloaded
rec 1 front.mp4 front_20261118T070200Z.mp4
rec 1 front.ts  front_20261119T123000Z.ts
rec 1 front.ts  front_20261119T123100Z_harsh-brake-3.ts locked afu
rec 1 front.ts  front_20261119T123200Z.ts downloaded
rec 1 front.ts  front_20261120T171400Z.ts
rec 1 front.ts  front_20261120T171500Z.ts afu
rec 1 partial.ts front_20261120T171600Z.ts recording
# A snapshot beside the recordings: its extension is not one the recorder archive lists.
cp "$clips/snap.jpg" "$dev/archive/1/front_20261118T070000Z.jpg"
# A marker whose recording was overwritten long ago: ignored.
: > "$dev/archive/1/.downloaded/front_20261117T230000Z.mp4"

# Recorder 2, Cabin: avi on the 18th and 19th, QuickTime on the 20th.
rec 2 cabin.avi cabin_20261118T070000Z.avi
rec 2 cabin.avi cabin_20261118T070100Z.avi locked
rec 2 cabin.avi cabin_20261118T070200Z.avi
rec 2 cabin.avi cabin_20261119T123000Z.avi trash
rec 2 cabin.avi cabin_20261119T123100Z_door-open-5.avi locked afu
rec 2 cabin.avi cabin_20261119T123200Z.avi
rec 2 cabin.mov cabin_20261120T171400Z.mov downloaded
rec 2 cabin.mov cabin_20261120T171500Z.mov afu

# Recorder 3, Rear, keeps no archive.
echo "made $dev: $(find "$dev" -type f | wc -l) files, $(du -sh "$dev" | cut -f1)"
