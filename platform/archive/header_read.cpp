// Reading one file's media header with pread, and the duration a file reports; the
// descriptor a FileInfo keeps open between its hand-on and that read.
#include "archive/detail/header_read.h"

#include <unistd.h>

#include "archive/archive.h"

namespace archive::detail {

void FileHandle::reset(int fd) noexcept {
  if (fd_ >= 0) ::close(fd_);
  fd_ = fd;
}

media::Answer readDuration(int fd, std::uint64_t size, std::string_view extension) {
  media::DurationProbe probe(size, extension);
  while (!probe.done()) {
    const media::ByteRange range = probe.next();
    std::uint8_t* bytes = probe.buffer();
    std::size_t done = 0;
    // A short read goes on where it stopped; an error ends the range as the end of the
    // file would.
    while (done < range.length) {
      const ssize_t n = pread(fd, bytes + done, range.length - done, off_t(range.offset + done));
      if (n <= 0) break;
      done += std::size_t(n);
    }
    probe.commit(done);
  }
  return probe.answer();
}

std::int64_t reportedDuration(const media::Answer& answer, std::int64_t mtime,
                              std::int64_t startTime) {
  if (answer.verdict == media::Verdict::duration) return answer.seconds;
  if (answer.verdict == media::Verdict::noDuration) {
    // A recording whose header is not written yet: the time the recorder has been
    // writing it, if the clocks agree.
    const std::int64_t written = mtime - startTime;
    if (written >= 0 && written <= media::kMaxSeconds) return written;
  }
  return 0;
}

}  // namespace archive::detail
