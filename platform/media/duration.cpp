// Container detection, the windows of bytes read so far, and probeDuration: runs the
// parsers over the windows and turns the first range they lack into the next read.
#include "media/duration.h"

#include <algorithm>
#include <cstring>

#include "media/parsers.h"

namespace media {

std::uint8_t* ByteWindows::reserve(ByteRange asked) {
  const std::size_t at = bytes_.size();
  // What a file needs, no more: the buffer is kept for the next file.
  if (bytes_.capacity() < at + asked.length) bytes_.reserve(at + asked.length);
  bytes_.resize(at + asked.length);
  return bytes_.data() + at;
}

void ByteWindows::keep(ByteRange asked, std::size_t got) {
  const std::size_t at = bytes_.size() - asked.length;
  got = std::min<std::size_t>(got, asked.length);
  bytes_.resize(at + got);
  windows_.push_back({asked.offset, at, got, got < asked.length});
}

void ByteWindows::clear() {
  bytes_.clear();
  windows_.clear();
}

bool ByteWindows::endsShortAt(std::uint64_t offset) const {
  for (const Window& w : windows_)
    if (w.isShort && w.offset + w.size == offset) return true;
  return false;
}

std::string_view ByteWindows::view(std::uint64_t offset, std::size_t length) const {
  for (const Window& w : windows_) {
    if (offset >= w.offset && offset - w.offset < w.size) {
      const std::size_t from = std::size_t(offset - w.offset);
      return std::string_view(reinterpret_cast<const char*>(bytes_.data()) + w.at + from,
                              std::min(length, w.size - from));
    }
  }
  return {};
}

bool ByteWindows::copy(std::uint64_t offset, std::size_t length, std::uint8_t* out) const {
  while (length > 0) {
    const std::string_view part = view(offset, length);
    if (part.empty()) return false;
    std::memcpy(out, part.data(), part.size());
    out += part.size();
    offset += part.size();
    length -= part.size();
  }
  return true;
}

namespace {

// The smallest read: a header at the start of a file, a box or chunk header elsewhere.
constexpr std::uint32_t kSmallRead = 4096;

// Serves the parsers from the windows. The first range they ask for that no window
// holds becomes `missing`, and that read (and every later one) comes back empty, as at
// the end of the file: the parse then ends soon, and is run again once the range has
// been read. A read that reaches past a window's short end is the end of the file.
class WindowsReader : public Reader {
 public:
  WindowsReader(const ByteWindows& windows, std::uint64_t size) : windows_(windows), size_(size) {}
  std::uint64_t size() const override { return size_; }

  std::size_t read(std::uint64_t offset, std::uint8_t* buffer, std::size_t length) override {
    if (missing_ || offset >= size_ || length == 0) return 0;
    std::size_t done = 0;
    while (done < length && offset + done < size_) {
      const std::string_view part = windows_.view(offset + done, length - done);
      if (part.empty()) break;
      std::memcpy(buffer + done, part.data(), part.size());
      done += part.size();
    }
    if (done == length || offset + done >= size_ || windows_.endsShortAt(offset + done))
      return done;
    note(offset + done, length - done);
    return 0;
  }

  void expect(std::uint64_t begin, std::uint64_t end) override {
    expectBegin_ = begin;
    expectEnd_ = std::min(end, size_);
  }

  const std::optional<ByteRange>& missing() const { return missing_; }

 private:
  // The read for bytes [offset, offset + length): at least kSmallRead; the rest of a
  // small box being walked, or the tail of the file, in one go (recorders put the index
  // there, and it is read whole); never more than kMaxReadLength.
  void note(std::uint64_t offset, std::size_t length) {
    std::uint64_t want = std::max<std::uint64_t>(length, kSmallRead);
    if (offset >= expectBegin_ && offset < expectEnd_ && expectEnd_ - offset <= kMaxReadLength)
      want = std::max(want, expectEnd_ - offset);
    if (size_ - offset <= kMaxReadLength) want = size_ - offset;
    want = std::min<std::uint64_t>({want, kMaxReadLength, size_ - offset});
    missing_ = ByteRange{offset, std::uint32_t(want)};
  }

  const ByteWindows& windows_;
  std::uint64_t size_;
  std::uint64_t expectBegin_ = 0, expectEnd_ = 0;
  std::optional<ByteRange> missing_;
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

Container detectContainer(Reader& reader, std::string_view extension, bool* byContent) {
  std::uint8_t head[400] = {};
  const std::size_t n = reader.read(0, head, sizeof head);
  *byContent = true;
  if (n >= 12 && std::memcmp(head, "RIFF", 4) == 0 && std::memcmp(head + 8, "AVI ", 4) == 0)
    return Container::avi;
  if (n >= 8 && isMp4BoxType(head + 4)) return Container::mp4;
  if (syncEvery(head, n, 0, 188) || syncEvery(head, n, 4, 192)) return Container::ts;
  *byContent = false;

  for (const char* ext : {"mp4", "mov", "m4v", "3gp"})
    if (equalsIgnoringCase(extension, ext)) return Container::mp4;
  if (equalsIgnoringCase(extension, "avi")) return Container::avi;
  for (const char* ext : {"ts", "m2ts", "mts"})
    if (equalsIgnoringCase(extension, ext)) return Container::ts;
  return Container::unknown;
}

ByteRange firstRange(std::uint64_t fileSize) {
  return {0, std::uint32_t(std::min<std::uint64_t>(fileSize, kSmallRead))};
}

Answer probeDuration(const ByteWindows& bytes, std::uint64_t fileSize, std::string_view extension) {
  WindowsReader reader(bytes, fileSize);
  bool byContent = false;
  std::optional<std::int64_t> seconds;
  switch (detectContainer(reader, extension, &byContent)) {
    case Container::mp4:
      seconds = mp4Duration(reader);
      break;
    case Container::avi:
      seconds = aviDuration(reader);
      break;
    case Container::ts:
      seconds = tsDuration(reader);
      break;
    case Container::unknown:
      break;
  }
  Answer answer;
  if (reader.missing() && bytes.reads() < std::size_t(kMaxReads)) {
    answer.verdict = Verdict::need;
    answer.next = *reader.missing();
  } else if (seconds) {
    // Longer than any recording lasts: the header is damaged, and so is its clock.
    if (*seconds >= 0 && *seconds <= kMaxSeconds) {
      answer.verdict = Verdict::duration;
      answer.seconds = *seconds;
    }
  } else if (byContent) {
    answer.verdict = Verdict::noDuration;
  }
  return answer;
}

void DurationProbe::reset(std::uint64_t fileSize, std::string_view extension) {
  windows_.clear();
  size_ = fileSize;
  extension_.assign(extension);
  answer_ = Answer();
  answer_.verdict = Verdict::need;
  answer_.next = firstRange(fileSize);
  if (answer_.next.length == 0) commit(0);  // an empty file: nothing to read
}

void DurationProbe::commit(std::size_t got) {
  windows_.keep(answer_.next, got);
  ask();
}

void DurationProbe::add(std::string_view bytes) {
  const std::size_t got = std::min<std::size_t>(bytes.size(), answer_.next.length);
  std::memcpy(buffer(), bytes.data(), got);
  commit(got);
}

void DurationProbe::ask() {
  answer_ = probeDuration(windows_, size_, extension_);
  // A range of no bytes is read at once: there is nothing to wait for.
  while (answer_.verdict == Verdict::need && answer_.next.length == 0) {
    windows_.keep(answer_.next, 0);
    answer_ = probeDuration(windows_, size_, extension_);
  }
}

}  // namespace media
