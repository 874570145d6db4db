// Conversions from the text of an option value into the typed destinations of options.
#include <strings.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "popts/popts.h"

namespace popts {

bool OptValueParser<std::string>::parse(const char* text, std::string& out) {
  out = text;
  return true;
}

// Grammar: what strtoull accepts with base 0 (leading blanks, a sign, "0x" for hex, a
// leading "0" for octal), and nothing after it. The empty text converts nothing and is
// therefore 0; overflow saturates silently at 2^64 - 1, as the C library does.
bool OptValueParser<std::uint64_t>::parse(const char* text, std::uint64_t& out) {
  char* end = nullptr;
  out = std::strtoull(text, &end, 0);
  return *end == '\0';
}

// As std::uint64_t, truncated to 32 bits.
bool OptValueParser<unsigned int>::parse(const char* text, unsigned int& out) {
  std::uint64_t wide = 0;
  const bool ok = OptValueParser<std::uint64_t>::parse(text, wide);
  out = static_cast<unsigned int>(wide);
  return ok;
}

// Grammar: what strtol accepts with base 0, and nothing after it; truncated to 32 bits.
bool OptValueParser<int>::parse(const char* text, int& out) {
  char* end = nullptr;
  out = static_cast<int>(std::strtol(text, &end, 0));
  return *end == '\0';
}

// Grammar: 1|y|yes|on|true or 0|n|no|off|false, in any case. `out` is untouched on failure.
bool OptValueParser<bool>::parse(const char* text, bool& out) {
  static const char* const kTrueWords[] = {"1", "y", "yes", "on", "true"};
  static const char* const kFalseWords[] = {"0", "n", "no", "off", "false"};
  for (const char* word : kTrueWords) {
    if (strcasecmp(text, word) == 0) {
      out = true;
      return true;
    }
  }
  for (const char* word : kFalseWords) {
    if (strcasecmp(text, word) == 0) {
      out = false;
      return true;
    }
  }
  return false;
}

// Grammar: "<number>,<number>" as sscanf reads it: blanks are skipped before each number,
// none is allowed before the comma, and whatever follows the second number is ignored.
bool OptValueParser<std::pair<std::int64_t, std::int64_t>>::parse(
    const char* text, std::pair<std::int64_t, std::int64_t>& out) {
  return std::sscanf(text, "%" SCNd64 ",%" SCNd64, &out.first, &out.second) == 2;
}

}  // namespace popts
