// AVI duration: microseconds per frame times the total frame count.
//
// Accepted structure (RIFF chunks, little endian, payloads padded to even length):
//   chunk = id:4cc size:u32 payload        list = "LIST" size:u32 type:4cc chunk*
//   file  = "RIFF" size "AVI " list("hdrl") ...
//   hdrl  = "avih"(usPerFrame:u32 maxBytes:u32 padding:u32 flags:u32 totalFrames:u32 ...)
//           ... [list("odml") = "dmlh"(totalFrames:u32 ...)]
// The OpenDML count covers every RIFF part of files over 1 GiB; avih counts only the
// first, so dmlh wins where it is present and not zero. The hdrl list must lie wholly
// inside the file.
#include <algorithm>
#include <cstring>
#include <optional>

#include "media/parsers.h"

namespace media {

namespace {

constexpr int kMaxChunksPerLevel = 32;

struct Chunk {
  std::uint64_t payload = 0;  // after id and size (and after the list type for a LIST)
  std::uint64_t end = 0;      // one past the payload, without padding
};

// Finds chunk `id` (or, with `listType`, the LIST of that type) in [begin, end).
std::optional<Chunk> findChunk(Reader& reader, std::uint64_t begin, std::uint64_t end,
                               const char* id, const char* listType = nullptr) {
  reader.expect(begin, end);
  std::uint64_t offset = begin;
  int chunks = 0;
  while (chunks++ < kMaxChunksPerLevel && end - offset >= 8) {
    // A chunk header, and the type of a LIST.
    std::uint8_t h[12];
    const std::size_t n = reader.read(offset, h, std::min<std::uint64_t>(end - offset, 12));
    if (n < 8) return std::nullopt;
    const std::uint64_t size = le32(h + 4);
    if (size > end - offset - 8) return std::nullopt;
    const bool isList = std::memcmp(h, "LIST", 4) == 0;
    if (listType) {
      if (isList && n == 12 && size >= 4 && std::memcmp(h + 8, listType, 4) == 0)
        return Chunk{offset + 12, offset + 8 + size};
    } else if (std::memcmp(h, id, 4) == 0) {
      return Chunk{offset + 8, offset + 8 + size};
    }
    offset += 8 + size + (size & 1);
    if (offset > end) return std::nullopt;
  }
  return std::nullopt;
}

std::optional<std::uint32_t> readU32(Reader& reader, const Chunk& chunk, std::uint64_t at) {
  std::uint8_t b[4];
  if (chunk.end - chunk.payload < at + 4 || reader.read(chunk.payload + at, b, 4) != 4)
    return std::nullopt;
  return le32(b);
}

}  // namespace

std::optional<std::int64_t> aviDuration(Reader& reader) {
  std::uint8_t riff[12];
  if (reader.read(0, riff, 12) != 12 || std::memcmp(riff, "RIFF", 4) != 0 ||
      std::memcmp(riff + 8, "AVI ", 4) != 0)
    return std::nullopt;
  // A recording cut short keeps its declared RIFF size; its header may still be whole.
  const std::uint64_t riffEnd =
      std::min<std::uint64_t>(8 + std::uint64_t(le32(riff + 4)), reader.size());
  if (riffEnd < 12) return std::nullopt;
  const auto hdrl = findChunk(reader, 12, riffEnd, nullptr, "hdrl");
  if (!hdrl) return std::nullopt;
  const auto avih = findChunk(reader, hdrl->payload, hdrl->end, "avih");
  if (!avih) return std::nullopt;
  const auto usPerFrame = readU32(reader, *avih, 0);
  auto frames = readU32(reader, *avih, 16);
  if (!usPerFrame || !frames) return std::nullopt;

  if (const auto odml = findChunk(reader, hdrl->payload, hdrl->end, nullptr, "odml")) {
    if (const auto dmlh = findChunk(reader, odml->payload, odml->end, "dmlh")) {
      const auto total = readU32(reader, *dmlh, 0);
      if (total && *total != 0) frames = total;
    }
  }
  if (*usPerFrame == 0 || *frames == 0) return std::nullopt;
  // Both fit in 32 bits, so the product fits in 64.
  return roundedQuotient(std::uint64_t(*usPerFrame) * *frames, 1000000);
}

}  // namespace media
