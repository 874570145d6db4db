// Rounding division and ASCII case folding (bytes.h).
#include "media/bytes.h"

namespace media {

std::int64_t roundedQuotient(std::uint64_t num, std::uint64_t den) {
  const std::uint64_t q = num / den, r = num % den;
  const std::uint64_t rounded = q + (r >= den - r ? 1 : 0);
  constexpr std::uint64_t kMax = std::uint64_t(INT64_MAX);
  return std::int64_t(rounded > kMax ? kMax : rounded);
}

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; };
  for (std::size_t i = 0; i < a.size(); ++i)
    if (lower(a[i]) != lower(b[i])) return false;
  return true;
}

}  // namespace media
