// The length of a recording read from its media header: MP4/QuickTime, AVI and MPEG
// transport streams. Pure functions over a small reader so they can be tested on byte
// buffers; every read is bounded and damaged content gives no duration, never an error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace archive::media {

// Random access to the bytes of one file.
class Reader {
 public:
  virtual ~Reader() = default;
  virtual std::uint64_t size() const = 0;
  // Reads up to `length` bytes at `offset`; returns the count read, short only at the
  // end of the data or on an error.
  virtual std::size_t read(std::uint64_t offset, std::uint8_t* buffer, std::size_t length) = 0;
};

// A reader over bytes in memory.
class BufferReader : public Reader {
 public:
  explicit BufferReader(std::string_view bytes) : bytes_(bytes) {}
  std::uint64_t size() const override { return bytes_.size(); }
  std::size_t read(std::uint64_t offset, std::uint8_t* buffer, std::size_t length) override;

 private:
  std::string_view bytes_;
};

// The most any parser asks of a reader: per call, number of calls, total bytes.
constexpr std::size_t kMaxReadLength = 64 * 1024;
constexpr int kMaxReads = 48;
constexpr std::uint64_t kMaxTotalBytes = 2 * 1024 * 1024 + 512 * 1024;
// Longer is taken as damage (about 32 years).
constexpr std::int64_t kMaxSeconds = 1000000000;

enum class Container { unknown, mp4, avi, ts };

// Recognises the container by its first bytes, else by `extension` (case ignored:
// mp4 mov m4v 3gp / avi / ts m2ts mts).
Container detectContainer(Reader& reader, std::string_view extension);

// Each gives whole seconds rounded to nearest, or nothing when the header has none.
std::optional<std::int64_t> mp4Duration(Reader& reader);
std::optional<std::int64_t> aviDuration(Reader& reader);
std::optional<std::int64_t> tsDuration(Reader& reader);

// Detects the container and reads its duration through a reader that refuses anything
// beyond the limits above.
std::optional<std::int64_t> mediaDuration(Reader& reader, std::string_view extension);

// num / den rounded to nearest (halves up); den > 0. Saturates at INT64_MAX.
std::int64_t roundedQuotient(std::uint64_t num, std::uint64_t den);

// Big-endian and little-endian loads.
inline std::uint32_t be32(const std::uint8_t* p) {
  return std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
}
inline std::uint64_t be64(const std::uint8_t* p) {
  return std::uint64_t(be32(p)) << 32 | be32(p + 4);
}
inline std::uint32_t le32(const std::uint8_t* p) {
  return std::uint32_t(p[3]) << 24 | std::uint32_t(p[2]) << 16 | std::uint32_t(p[1]) << 8 | p[0];
}

}  // namespace archive::media
