// The length of a recording from its media header (MP4/QuickTime, AVI, MPEG transport
// stream), computed from bytes the caller has read. The parsers do no I/O: they say
// which byte range they need next, and the caller (a plain pread loop, or a batch of
// io_uring reads for many files at once) fetches it and asks again. So each parser is
// tested and fuzzed on buffers alone, and a damaged file can never make anyone read
// without bound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace media {

// No recording of these devices lasts longer; a header that claims more is damaged.
inline constexpr std::int64_t kMaxSeconds = 31 * 24 * 3600;  // 2,678,400

// The most one file may cost: reads asked for, and bytes per read.
inline constexpr int kMaxReads = 20;
inline constexpr std::uint32_t kMaxReadLength = 64 * 1024;

struct ByteRange {
  std::uint64_t offset = 0;
  std::uint32_t length = 0;  // 1 to kMaxReadLength
};

// The bytes of one file read so far: windows at known offsets, kept back to back in one
// buffer that is reused from file to file. A window shorter than the range asked for
// means the file ended there (or could not be read further).
class ByteWindows {
 public:
  // Room for the bytes of `asked`, valid until keep(): read into it, then keep what
  // was read.
  std::uint8_t* reserve(ByteRange asked);
  // Keeps the first `got` bytes read into reserve()'s room for `asked`; fewer than asked
  // when the file ended first.
  void keep(ByteRange asked, std::size_t got);
  // Forgets every window, keeping the memory.
  void clear();
  // How many windows were kept (each is one read), and their bytes.
  std::size_t reads() const { return windows_.size(); }
  std::size_t bytes() const { return bytes_.size(); }
  std::size_t capacity() const { return bytes_.capacity(); }
  // Copies [offset, offset + length) into `out` if the windows hold all of it.
  bool copy(std::uint64_t offset, std::size_t length, std::uint8_t* out) const;
  // The bytes held from `offset` on, up to `length`, in one window; empty when no
  // window holds `offset`.
  std::string_view view(std::uint64_t offset, std::size_t length) const;
  // Whether a window came back short exactly at `offset`: nothing more can be read there.
  bool endsShortAt(std::uint64_t offset) const;

 private:
  struct Window {
    std::uint64_t offset;  // in the file
    std::size_t at;        // in bytes_
    std::size_t size;
    bool isShort;
  };
  std::vector<std::uint8_t> bytes_;
  std::vector<Window> windows_;
};

enum class Verdict {
  need,          // read `next` and ask again
  duration,      // `seconds` is the header's duration, 0 to kMaxSeconds
  noDuration,    // a container recognised by its content whose header gives no duration
                 // (typically a recording still being written)
  unrecognised,  // not a recording this library can read, or a damaged header
};

struct Answer {
  Verdict verdict = Verdict::unrecognised;
  std::int64_t seconds = 0;  // with Verdict::duration
  ByteRange next;            // with Verdict::need
};

// The range every file is read from first, before anything is known of it; a caller
// that reads many files may issue it together with the open.
ByteRange firstRange(std::uint64_t fileSize);

// What the bytes read so far of a file of `fileSize` bytes tell. `extension` (case
// ignored) is a hint for content that is not recognised on its own. Never asks for more
// than kMaxReads ranges per file: past that the answer is noDuration or unrecognised.
Answer probeDuration(const ByteWindows& bytes, std::uint64_t fileSize, std::string_view extension);

// Drives probeDuration for one file: keeps the bytes read so far and names the range to
// read next. Every reader of headers (one file at a time, many at once through
// io_uring, the tests and the fuzz targets) goes through it, so each asks the parsers
// the same questions in the same order.
class DurationProbe {
 public:
  DurationProbe() = default;  // answers nothing until reset()
  DurationProbe(std::uint64_t fileSize, std::string_view extension) { reset(fileSize, extension); }
  // Starts over for another file, keeping the memory of the last.
  void reset(std::uint64_t fileSize, std::string_view extension);

  // Whether the parsers have answered; then answer() holds their verdict.
  bool done() const { return answer_.verdict != Verdict::need; }
  // The range to read next, while !done(): 1 to kMaxReadLength bytes inside the file.
  ByteRange next() const { return answer_.next; }
  // Room for the bytes of next(), valid until commit(): read into it, then commit how
  // many were read; fewer when the file ended there or could not be read further (the
  // rest then counts as missing, as past the end of a file).
  std::uint8_t* buffer() { return windows_.reserve(answer_.next); }
  void commit(std::size_t got);
  // The same for bytes read elsewhere: copies the first next().length of them.
  void add(std::string_view bytes);
  const Answer& answer() const { return answer_; }
  // Reads made so far, and the bytes they brought.
  std::size_t reads() const { return windows_.reads(); }
  std::size_t bytesHeld() const { return windows_.bytes(); }
  std::size_t bytesKept() const { return windows_.capacity(); }

 private:
  void ask();

  ByteWindows windows_;
  std::uint64_t size_ = 0;
  std::string extension_;
  Answer answer_;
};

}  // namespace media
