// Batches of header reads through io_uring (liburing). Per batch: one submission opens
// every file; each file is fstat'ed (size, modification time, still a regular file);
// then rounds of reads, one submission each, until the media parsers have answered for
// every file; closes ride along with the next submission.
#include "archive/detail/read_ahead.h"

#include <liburing.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "archive/detail/header_read.h"
#include "media/duration.h"

namespace archive::detail {

namespace {

// Submission queue entries: the reads of a batch and the closes of its finished files.
constexpr unsigned kRingEntries = 2 * ReadAhead::kBatch;
constexpr std::uint64_t kCloseTag = ~std::uint64_t(0);

// A file of the batch while it is read.
struct Reading {
  int fd = -1;
  bool active = false;  // open, regular, the parsers still asking
  media::ByteWindows windows;
  media::ByteRange range;
  std::string bytes;     // the range being read
  std::size_t done = 0;  // bytes of it read so far
};

}  // namespace

struct ReadAhead::Ring {
  io_uring ring;
  bool live = false;
  ~Ring() {
    if (live) io_uring_queue_exit(&ring);
  }
};

ReadAhead::ReadAhead(std::unique_ptr<Ring> ring) : ring_(std::move(ring)) {}
ReadAhead::~ReadAhead() = default;

std::unique_ptr<ReadAhead> ReadAhead::create() {
  const char* setting = std::getenv("ARCHIVE_IO_URING");
  if (setting && std::strcmp(setting, "0") == 0) return nullptr;
  auto ring = std::make_unique<Ring>();
  // ENOSYS (no io_uring), EPERM or EACCES (the sysctl, a seccomp filter), ENOMEM (its
  // locked memory): each leaves the plain path.
  if (io_uring_queue_init(kRingEntries, &ring->ring, 0) < 0) return nullptr;
  ring->live = true;
  // Opening and closing came with Linux 5.6; ask rather than guess by version.
  io_uring_probe* probe = io_uring_get_probe_ring(&ring->ring);
  const bool supported = probe && io_uring_opcode_supported(probe, IORING_OP_OPENAT) &&
                         io_uring_opcode_supported(probe, IORING_OP_READ) &&
                         io_uring_opcode_supported(probe, IORING_OP_CLOSE);
  if (probe) io_uring_free_probe(probe);
  if (!supported) return nullptr;
  return std::unique_ptr<ReadAhead>(new ReadAhead(std::move(ring)));
}

namespace {

io_uring_sqe* nextSqe(io_uring* ring) {
  io_uring_sqe* sqe = io_uring_get_sqe(ring);
  if (!sqe) {  // not with kRingEntries, but never lose an operation
    io_uring_submit(ring);
    sqe = io_uring_get_sqe(ring);
  }
  return sqe;
}

// Submits what was prepared and hands each of `expected` completions to `done`; false
// when the ring itself fails (not seen with a ring that was set up).
template <class Done>
bool submitAndReap(io_uring* ring, unsigned expected, Done&& done) {
  unsigned reaped = 0;
  while (reaped < expected) {
    const int r = io_uring_submit_and_wait(ring, expected - reaped);
    if (r < 0 && r != -EINTR && r != -EAGAIN && r != -EBUSY) return false;
    io_uring_cqe* cqe;
    unsigned head, seen = 0;
    io_uring_for_each_cqe(ring, head, cqe) {
      done(io_uring_cqe_get_data64(cqe), cqe->res);
      ++seen;
    }
    io_uring_cq_advance(ring, seen);
    reaped += seen;
  }
  return true;
}

}  // namespace

void ReadAhead::read(std::vector<ReadItem>& items) {
  io_uring* ring = &ring_->ring;
  const std::size_t n = items.size();
  std::vector<Reading> files(n);
  for (std::size_t i = 0; i < n; ++i) {
    io_uring_sqe* sqe = nextSqe(ring);
    io_uring_prep_openat(sqe, items[i].dirFd, items[i].name.c_str(), kOpenFlags, 0);
    io_uring_sqe_set_data64(sqe, i);
  }
  // A ring that fails leaves every file of the batch, and the later ones, to the plain
  // path.
  const auto fail = [&] {
    usable_ = false;
    for (ReadItem& item : items) item.ready = false;
  };
  const bool opened = submitAndReap(ring, unsigned(n), [&](std::uint64_t i, int res) {
    if (res >= 0) {
      files[i].fd = res;
    } else if (res == -EINVAL || res == -EOPNOTSUPP || res == -ENOSYS || res == -EPERM) {
      usable_ = false;  // the kernel will not open through the ring; the plain path will
    }
  });
  if (!opened) return fail();

  std::vector<int> toClose;
  // Feeds the bytes read to the parsers; false when they have answered.
  auto parse = [&](std::size_t i) {
    Reading& f = files[i];
    ReadItem& item = items[i];
    for (;;) {
      f.bytes.resize(f.done);
      f.windows.add(f.range, std::move(f.bytes));
      const media::Answer answer =
          media::probeDuration(f.windows, std::uint64_t(item.size), item.extension);
      if (answer.verdict != media::Verdict::need) {
        item.duration = reportedDuration(answer, item.mtime, item.startTime);
        item.ready = true;
        return false;
      }
      f.range = answer.next;
      f.bytes.assign(f.range.length, '\0');
      f.done = 0;
      if (f.range.length != 0) return true;
    }
  };
  auto begin = [&](std::size_t i) {
    Reading& f = files[i];
    ReadItem& item = items[i];
    struct stat st;
    if (fstat(f.fd, &st) != 0 || !S_ISREG(st.st_mode)) {
      toClose.push_back(f.fd);
      return;
    }
    item.size = st.st_size;
    item.mtime = st.st_mtime;
    f.range = media::firstRange(std::uint64_t(st.st_size));
    f.bytes.assign(f.range.length, '\0');
    f.active = f.range.length != 0 || parse(i);
    if (!f.active) toClose.push_back(f.fd);
  };
  for (std::size_t i = 0; i < n; ++i)
    if (files[i].fd >= 0) begin(i);

  for (;;) {
    unsigned expected = 0;
    for (std::size_t i = 0; i < n; ++i) {
      Reading& f = files[i];
      if (!f.active) continue;
      io_uring_sqe* sqe = nextSqe(ring);
      io_uring_prep_read(sqe, f.fd, &f.bytes[f.done], unsigned(f.bytes.size() - f.done),
                         f.range.offset + f.done);
      io_uring_sqe_set_data64(sqe, i);
      ++expected;
    }
    for (int fd : toClose) {
      io_uring_sqe* sqe = nextSqe(ring);
      io_uring_prep_close(sqe, fd);
      io_uring_sqe_set_data64(sqe, kCloseTag);
      ++expected;
    }
    toClose.clear();
    if (expected == 0) break;
    const bool reaped = submitAndReap(ring, expected, [&](std::uint64_t i, int res) {
      if (i == kCloseTag) return;
      Reading& f = files[i];
      // As pread: a short read goes on from where it stopped; an error or the end of
      // the file ends the range.
      if (res > 0) {
        f.done += std::size_t(res);
        if (f.done < f.bytes.size()) return;
      }
      f.active = parse(i);
      if (!f.active) toClose.push_back(f.fd);
    });
    if (!reaped) return fail();
  }
}

}  // namespace archive::detail
