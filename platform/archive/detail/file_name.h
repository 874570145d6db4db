// The parts of a recording's file name: extension, start token, prefix and event id.
// The naming rules are described in docs/archive-layout.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace archive::detail {

// Days from 1970-01-01 to the given date of the proleptic Gregorian calendar (negative
// before it). Exact for every year, independent of the time zone.
std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day);

// The text after the last "." of `name`, or empty when it has none.
std::string_view fileExtension(std::string_view name);
// `name` without its extension and without the "." before it.
std::string_view fileStem(std::string_view name);

// The start token is this long: YYYYMMDDTHHMMSSZ.
inline constexpr std::size_t kTokenLength = 16;

struct NameParts {
  bool hasToken = false;        // the stem carries a valid start token
  std::size_t tokenOffset = 0;  // where the token begins in the name
  std::int64_t startTime = 0;   // seconds since the epoch, UTC; 0 without a token
  std::string_view prefix;      // text before the token, without one joining "_"
  std::string_view eventId;     // text after the token, without one leading "_"
};

// Finds the start token in the stem of `name`:
//   <8 digits YYYYMMDD> "T" <6 digits HHMMSS> "Z"
// at any position (the first one that forms a valid date and time wins; seconds run
// 00-59, no leap second). Without a token, hasToken is false and prefix/eventId empty.
NameParts parseFileName(std::string_view name);

// Writes the start token of `time` (kTokenLength characters, no terminator) to `out`;
// false, with nothing written, for a time outside the years 0000-9999.
bool formatStartToken(std::int64_t time, char* out);

}  // namespace archive::detail
