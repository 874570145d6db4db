// Small helpers over bytes and text that the media parsers and the archive library share:
// loads of big- and little-endian integers, rounding division, ASCII case folding. A
// leaf: it includes nothing of the project.
#pragma once

#include <cstdint>
#include <string_view>

namespace media {

inline std::uint32_t be32(const std::uint8_t* p) {
  return std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
}
inline std::uint64_t be64(const std::uint8_t* p) {
  return std::uint64_t(be32(p)) << 32 | be32(p + 4);
}
inline std::uint32_t le32(const std::uint8_t* p) {
  return std::uint32_t(p[3]) << 24 | std::uint32_t(p[2]) << 16 | std::uint32_t(p[1]) << 8 | p[0];
}

// num / den rounded to nearest (halves up); den > 0. Saturates at INT64_MAX.
std::int64_t roundedQuotient(std::uint64_t num, std::uint64_t den);

// Equality ignoring ASCII case only: file names and extensions may hold any bytes. Inline:
// every name of an archive is held against the extensions wanted.
inline bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
  for (std::size_t i = 0; i < a.size(); ++i)
    if (lower(a[i]) != lower(b[i])) return false;
  return true;
}

}  // namespace media
