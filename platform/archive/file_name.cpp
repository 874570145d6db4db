// Parsing of recording file names; see docs/archive-layout.md for the rules.
#include "archive/detail/file_name.h"

#include <cstring>

namespace archive::detail {

std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day) {
  // Counts from 0000-03-01 so that the leap day ends the year (after H. Hinnant).
  year -= month <= 2 ? 1 : 0;
  const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yoe = year - era * 400;
  const std::int64_t mp = (month + 9) % 12;
  const std::int64_t doy = (153 * mp + 2) / 5 + day - 1;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

std::string_view fileExtension(std::string_view name) {
  const auto dot = name.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

std::string_view fileStem(std::string_view name) {
  const auto dot = name.rfind('.');
  return dot == std::string_view::npos ? name : name.substr(0, dot);
}

namespace {

// The number the `count` digits at `pos` spell, or -1 when one of them is no digit.
int number(std::string_view s, std::size_t pos, std::size_t count) {
  int value = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const unsigned digit = unsigned(static_cast<unsigned char>(s[pos + i])) - '0';
    if (digit > 9) return -1;
    value = value * 10 + int(digit);
  }
  return value;
}

bool isLeapYear(unsigned y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; }

unsigned daysInMonth(unsigned year, unsigned month) {
  static const unsigned kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// The start time of a token at `pos`, or false when the characters there are not one.
bool tokenAt(std::string_view s, std::size_t pos, std::int64_t* time) {
  // The two letters first: they turn most places of a name away at once.
  if (s[pos + 8] != 'T' || s[pos + 15] != 'Z') return false;
  const int year = number(s, pos, 4), month = number(s, pos + 4, 2), day = number(s, pos + 6, 2),
            hour = number(s, pos + 9, 2), minute = number(s, pos + 11, 2),
            second = number(s, pos + 13, 2);
  if (year < 0 || month < 1 || month > 12 || day < 1 ||
      day > int(daysInMonth(unsigned(year), unsigned(month))))
    return false;
  if (hour < 0 || hour > 23 || minute < 0 || minute > 59 || second < 0 || second > 59) return false;
  *time = daysFromCivil(year, unsigned(month), unsigned(day)) * 86400 + hour * 3600 + minute * 60 +
          second;
  return true;
}

}  // namespace

NameParts parseFileName(std::string_view name) {
  NameParts parts;
  const std::string_view stem = fileStem(name);
  for (std::size_t pos = 0; pos + kTokenLength <= stem.size(); ++pos) {
    if (!tokenAt(stem, pos, &parts.startTime)) continue;
    parts.hasToken = true;
    parts.tokenOffset = pos;
    parts.prefix = stem.substr(0, pos);
    if (!parts.prefix.empty() && parts.prefix.back() == '_') parts.prefix.remove_suffix(1);
    parts.eventId = stem.substr(pos + kTokenLength);
    if (!parts.eventId.empty() && parts.eventId.front() == '_') parts.eventId.remove_prefix(1);
    return parts;
  }
  parts.startTime = 0;
  return parts;
}

bool formatStartToken(std::int64_t time, char* out) {
  // The inverse of daysFromCivil (after H. Hinnant).
  std::int64_t days = time / 86400, seconds = time % 86400;
  if (seconds < 0) {
    seconds += 86400;
    --days;
  }
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t doe = days - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  const std::int64_t day = doy - (153 * mp + 2) / 5 + 1;
  const std::int64_t month = mp < 10 ? mp + 3 : mp - 9;
  const std::int64_t year = yoe + era * 400 + (month <= 2 ? 1 : 0);
  if (year < 0 || year > 9999) return false;
  // Two digits at a time: every name handed on is rebuilt from its token, so this runs
  // once per file of a listing or a count.
  static constexpr char kPairs[] =
      "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
      "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
      "8081828384858687888990919293949596979899";
  auto put = [&out](std::int64_t value) {
    std::memcpy(out, kPairs + 2 * value, 2);
    out += 2;
  };
  put(year / 100);
  put(year % 100);
  put(month);
  put(day);
  *out++ = 'T';
  put(seconds / 3600);
  put(seconds / 60 % 60);
  put(seconds % 60);
  *out = 'Z';
  return true;
}

}  // namespace archive::detail
