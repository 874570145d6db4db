// Container detection and the read budget shared by the media header parsers.
#include "archive/media_duration.h"

#include <algorithm>
#include <cstring>

#include "archive/file_name.h"

namespace archive::media {

std::size_t BufferReader::read(std::uint64_t offset, std::uint8_t* buffer, std::size_t length) {
  if (offset >= bytes_.size()) return 0;
  const std::size_t n = std::min<std::uint64_t>(length, bytes_.size() - offset);
  std::memcpy(buffer, bytes_.data() + offset, n);
  return n;
}

namespace {

// Passes reads on while they stay within the limits; refuses the rest (as if at the
// end of the file), so no content can make a parser read without bound.
class BudgetReader : public Reader {
 public:
  explicit BudgetReader(Reader& inner) : inner_(inner) {}
  std::uint64_t size() const override { return inner_.size(); }
  std::size_t read(std::uint64_t offset, std::uint8_t* buffer, std::size_t length) override {
    if (length > kMaxReadLength || reads_ >= kMaxReads || bytes_ + length > kMaxTotalBytes)
      return 0;
    ++reads_;
    bytes_ += length;
    return inner_.read(offset, buffer, length);
  }

 private:
  Reader& inner_;
  int reads_ = 0;
  std::uint64_t bytes_ = 0;
};

bool isMp4BoxType(const std::uint8_t* t) {
  static const char* const kTypes[] = {"ftyp", "moov", "mdat", "free", "skip",
                                       "wide", "pnot", "styp", "uuid", "sidx"};
  for (const char* type : kTypes)
    if (std::memcmp(t, type, 4) == 0) return true;
  return false;
}

bool syncEvery(const std::uint8_t* p, std::size_t n, std::size_t first, std::size_t step) {
  for (std::size_t i = 0; i < 3; ++i)
    if (first + i * step >= n || p[first + i * step] != 0x47) return false;
  return true;
}

}  // namespace

Container detectContainer(Reader& reader, std::string_view extension) {
  std::uint8_t head[400] = {};
  const std::size_t n = reader.read(0, head, sizeof head);
  if (n >= 12 && std::memcmp(head, "RIFF", 4) == 0 && std::memcmp(head + 8, "AVI ", 4) == 0)
    return Container::avi;
  if (n >= 8 && isMp4BoxType(head + 4)) return Container::mp4;
  if (syncEvery(head, n, 0, 188) || syncEvery(head, n, 4, 192)) return Container::ts;

  using detail::equalsIgnoringCase;
  for (const char* ext : {"mp4", "mov", "m4v", "3gp"})
    if (equalsIgnoringCase(extension, ext)) return Container::mp4;
  if (equalsIgnoringCase(extension, "avi")) return Container::avi;
  for (const char* ext : {"ts", "m2ts", "mts"})
    if (equalsIgnoringCase(extension, ext)) return Container::ts;
  return Container::unknown;
}

std::optional<std::int64_t> mediaDuration(Reader& reader, std::string_view extension) {
  BudgetReader budget(reader);
  std::optional<std::int64_t> seconds;
  switch (detectContainer(budget, extension)) {
    case Container::mp4: seconds = mp4Duration(budget); break;
    case Container::avi: seconds = aviDuration(budget); break;
    case Container::ts: seconds = tsDuration(budget); break;
    case Container::unknown: break;
  }
  if (seconds && (*seconds < 0 || *seconds > kMaxSeconds)) return std::nullopt;
  return seconds;
}

std::int64_t roundedQuotient(std::uint64_t num, std::uint64_t den) {
  const std::uint64_t q = num / den, r = num % den;
  const std::uint64_t rounded = q + (r >= den - r ? 1 : 0);
  constexpr std::uint64_t kMax = std::uint64_t(INT64_MAX);
  return std::int64_t(rounded > kMax ? kMax : rounded);
}

}  // namespace archive::media
