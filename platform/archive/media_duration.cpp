// Container detection and the read budget shared by the media header parsers.
#include "archive/media_duration.h"

#include <algorithm>
#include <cstring>

#include "archive/detail/file_name.h"

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

// Serves the parsers' many small reads (box and chunk headers, a few to a few hundred
// bytes each, mostly close together) from one window of the file: a miss reads
// kWindow bytes from the asked offset, so a header at the start of the file costs one
// read and `moov` after `mdat` one more. Reads of a window or more go straight through.
class WindowReader : public Reader {
 public:
  static constexpr std::size_t kWindow = 4096;
  explicit WindowReader(Reader& inner) : inner_(inner) {}
  std::uint64_t size() const override { return inner_.size(); }
  std::size_t read(std::uint64_t offset, std::uint8_t* buffer, std::size_t length) override {
    if (length >= kWindow) return inner_.read(offset, buffer, length);
    if (!covers(offset, length)) {
      start_ = offset;
      have_ = inner_.read(offset, window_, kWindow);
      toEnd_ = have_ < kWindow;  // a short read: nothing more to get past it
    }
    if (offset - start_ >= have_) return 0;
    const std::size_t n = std::min<std::uint64_t>(length, have_ - (offset - start_));
    std::memcpy(buffer, window_ + (offset - start_), n);
    return n;
  }

 private:
  bool covers(std::uint64_t offset, std::size_t length) const {
    if (offset < start_ || offset - start_ > have_) return false;
    return toEnd_ || length <= have_ - (offset - start_);
  }

  Reader& inner_;
  std::uint8_t window_[kWindow];
  std::uint64_t start_ = 0;
  std::size_t have_ = 0;  // valid bytes in window_; 0 before the first read
  bool toEnd_ = false;    // the window reaches the end of what can be read
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
  // The budget counts the reads that reach the file.
  BudgetReader budget(reader);
  WindowReader window(budget);
  std::optional<std::int64_t> seconds;
  switch (detectContainer(window, extension)) {
    case Container::mp4: seconds = mp4Duration(window); break;
    case Container::avi: seconds = aviDuration(window); break;
    case Container::ts: seconds = tsDuration(window); break;
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
