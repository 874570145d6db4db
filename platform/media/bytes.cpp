// Rounding division (bytes.h).
#include "media/bytes.h"

namespace media {

std::int64_t roundedQuotient(std::uint64_t num, std::uint64_t den) {
  const std::uint64_t q = num / den, r = num % den;
  const std::uint64_t rounded = q + (r >= den - r ? 1 : 0);
  constexpr std::uint64_t kMax = std::uint64_t(INT64_MAX);
  return std::int64_t(rounded > kMax ? kMax : rounded);
}

}  // namespace media
