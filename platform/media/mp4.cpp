// MP4 / QuickTime duration: moov/mvhd, or for fragmented files (moov/mvex) mehd.
//
// Accepted structure (ISO/IEC 14496-12 boxes, big endian):
//   box      = size:u32 type:4cc [largesize:u64 when size == 1] payload
//              size 0 = to the end of the enclosing box (the file at top level)
//   top      = box* containing one "moov", before or after "mdat"
//   mvhd     = version:u8 flags:u24, then v0: ctime:u32 mtime:u32 timescale:u32 dur:u32
//                                         v1: ctime:u64 mtime:u64 timescale:u32 dur:u64
//   mehd     = version:u8 flags:u24, then v0: dur:u32, v1: dur:u64 (mvhd time scale)
// A box that does not fit in its parent is damage: the search stops there.
#include <optional>

#include "media/parsers.h"

namespace media {

namespace {

struct Box {
  std::uint64_t payload = 0;  // first byte after the header
  std::uint64_t end = 0;      // one past the last byte
};

// How many boxes a level may hold before we give up on finding ours: keeps the number
// of reads small whatever the file holds.
constexpr int kMaxBoxesPerLevel = 16;

// Finds the first box of `type` among the boxes filling [begin, end).
std::optional<Box> findBox(Reader& reader, std::uint64_t begin, std::uint64_t end,
                           const char* type) {
  reader.expect(begin, end);
  std::uint64_t offset = begin;
  for (int i = 0; i < kMaxBoxesPerLevel && end - offset >= 8; ++i) {
    std::uint8_t h[16];
    const std::size_t n = reader.read(offset, h, end - offset >= 16 ? 16 : 8);
    if (n < 8) return std::nullopt;
    std::uint64_t size = be32(h);
    std::uint64_t header = 8;
    if (size == 1) {
      if (n < 16) return std::nullopt;
      size = be64(h + 8);
      header = 16;
    } else if (size == 0) {
      size = end - offset;
    }
    if (size < header || size > end - offset) return std::nullopt;
    if (h[4] == std::uint8_t(type[0]) && h[5] == std::uint8_t(type[1]) &&
        h[6] == std::uint8_t(type[2]) && h[7] == std::uint8_t(type[3]))
      return Box{offset + header, offset + size};
    offset += size;
  }
  return std::nullopt;
}

// Reads the first `length` bytes of the payload of `box` into `out`; false when the box
// or the read is shorter.
bool readPayload(Reader& reader, const Box& box, std::uint8_t* out, std::size_t length) {
  return box.end - box.payload >= length && reader.read(box.payload, out, length) == length;
}

}  // namespace

std::optional<std::int64_t> mp4Duration(Reader& reader) {
  const auto moov = findBox(reader, 0, reader.size(), "moov");
  if (!moov) return std::nullopt;
  const auto mvhd = findBox(reader, moov->payload, moov->end, "mvhd");
  if (!mvhd) return std::nullopt;

  std::uint8_t m[32];
  if (!readPayload(reader, *mvhd, m, 4)) return std::nullopt;
  std::uint64_t timescale = 0, duration = 0;
  if (m[0] == 0) {
    if (!readPayload(reader, *mvhd, m, 20)) return std::nullopt;
    timescale = be32(m + 12);
    duration = be32(m + 16);
    if (duration == 0xffffffffu) duration = 0;  // "unknown"
  } else if (m[0] == 1) {
    if (!readPayload(reader, *mvhd, m, 32)) return std::nullopt;
    timescale = be32(m + 20);
    duration = be64(m + 24);
    if (duration == ~std::uint64_t(0)) duration = 0;
  } else {
    return std::nullopt;
  }
  if (timescale == 0) return std::nullopt;

  if (const auto mvex = findBox(reader, moov->payload, moov->end, "mvex")) {
    // Fragmented: mvhd covers only the samples inside moov (0 with an empty moov, the
    // first fragment with some writers); the whole length is in mehd or nowhere.
    const auto mehd = findBox(reader, mvex->payload, mvex->end, "mehd");
    if (!mehd) return std::nullopt;
    std::uint8_t e[12];
    if (!readPayload(reader, *mehd, e, 4)) return std::nullopt;
    if (e[0] == 0 && readPayload(reader, *mehd, e, 8)) {
      duration = be32(e + 4);
    } else if (e[0] == 1 && readPayload(reader, *mehd, e, 12)) {
      duration = be64(e + 4);
    } else {
      return std::nullopt;
    }
  }
  if (duration == 0) return std::nullopt;
  return roundedQuotient(duration, timescale);
}

}  // namespace media
