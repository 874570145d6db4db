// The pipeline of header reads (liburing). Each file of the queue goes through open,
// fstat, the reads the media parsers ask for, and close; every step is prepared when
// the previous one completes, and one io_uring_enter submits the steps of many files
// and waits for whichever completes first. No barrier: a slow file holds up only the
// files behind it in browse order that are still to be handed on, never the reads of
// the others.
#include "archive/detail/read_ahead.h"

#include <liburing.h>
#include <linux/magic.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "archive/archive.h"
#include "archive/detail/file_name.h"
#include "archive/detail/folder_store.h"
#include "archive/detail/header_read.h"

namespace archive::detail {

namespace {

// The header bytes the files in flight may hold together. The usual file holds a few
// KiB; one whose parsers ask for large ranges waits while others hold the room, but the
// oldest waiting file is always read when no read is in flight, so nothing waits for
// ever.
constexpr std::size_t kMaxHeldBytes = std::size_t(4) << 20;
// The header memory a slot keeps for the next file: what the usual file needs.
constexpr std::size_t kKeptPerSlot = 64 * 1024;
// Prepared steps are submitted once this many wait, even when the file handed on next
// is finished already, so that the kernel always has work.
constexpr unsigned kSubmitBatch = 16;

// A wait for a completion longer than this means storage that answers slowly: more
// files in flight hide its latency. From the page cache the steps complete at once.
constexpr std::chrono::microseconds kSlowWait(50);

// The depth to start with and the most it may grow to: ARCHIVE_READ_DEPTH fixes both.
std::pair<unsigned, unsigned> depthSetting() {
  unsigned start = ReadAhead::kStartDepth, most = ReadAhead::kMaxDepth;
  if (const char* setting = std::getenv("ARCHIVE_READ_DEPTH"); setting && *setting) {
    char* end = nullptr;
    const unsigned long wanted = std::strtoul(setting, &end, 10);
    if (*end == '\0' && wanted >= 1 && wanted <= 1024) start = most = unsigned(wanted);
  }
  // Each file in flight holds a descriptor: leave half of them to the rest of the
  // process, and to the plain path.
  struct rlimit files;
  if (getrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur != RLIM_INFINITY)
    most = unsigned(std::max<rlim_t>(1, std::min<rlim_t>(most, files.rlim_cur / 2)));
  return {std::min(start, most), most};
}

// exfat has no constant in older kernel headers.
constexpr std::uint32_t kExfatMagic = 0x2011BAB0;

}  // namespace

bool ringServes(int dirFd) {
  struct statfs fs;
  if (fstatfs(dirFd, &fs) != 0) return false;
  // Every magic fits 32 bits; f_type is a signed 32-bit word on 32-bit ARM.
  switch (std::uint32_t(fs.f_type)) {
    case EXT4_SUPER_MAGIC:  // ext2 and ext3 too
    case F2FS_SUPER_MAGIC:
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
    case MSDOS_SUPER_MAGIC:  // vfat
    case kExfatMagic:
      return true;
    default:
      // FUSE ran the ring's reads one after another and repeated bytes of a short read
      // (Linux 6.18); network file systems may stall. Read them plainly.
      return false;
  }
}

struct ReadAhead::Ring {
  io_uring ring;
  bool live = false;
  ~Ring() {
    if (live) io_uring_queue_exit(&ring);
  }
};

ReadAhead::ReadAhead(std::unique_ptr<Ring> ring, unsigned depth, unsigned maxDepth)
    : ring_(std::move(ring)),
      slots_(maxDepth),
      depth_(depth),
      maxDepth_(maxDepth),
      capacity_(std::size_t(maxDepth) * 4) {
  for (unsigned i = maxDepth; i-- > 0;) freeSlots_.push_back(int(i));
}

ReadAhead::~ReadAhead() { drain(); }

std::unique_ptr<ReadAhead> ReadAhead::create() {
  const char* setting = std::getenv("ARCHIVE_IO_URING");
  if (setting && std::strcmp(setting, "0") == 0) return nullptr;
  // "everywhere": on every file system, FUSE too (for the tests of failing files).
  const bool everywhere = setting && std::strcmp(setting, "everywhere") == 0;
  const auto [depth, maxDepth] = depthSetting();
  auto ring = std::make_unique<Ring>();
  // ENOSYS (no io_uring), EPERM or EACCES (the sysctl, a seccomp filter), ENOMEM (its
  // locked memory): each leaves the plain path. Each file has one step in flight, and
  // closes ride beside them: twice the depth never runs short.
  if (io_uring_queue_init(2 * maxDepth, &ring->ring, 0) < 0) return nullptr;
  ring->live = true;
  // Opening and closing came with Linux 5.6; ask rather than guess by version.
  io_uring_probe* probe = io_uring_get_probe_ring(&ring->ring);
  const bool supported = probe && io_uring_opcode_supported(probe, IORING_OP_OPENAT) &&
                         io_uring_opcode_supported(probe, IORING_OP_READ) &&
                         io_uring_opcode_supported(probe, IORING_OP_CLOSE);
  if (probe) io_uring_free_probe(probe);
  if (!supported) return nullptr;
  auto reader = std::unique_ptr<ReadAhead>(new ReadAhead(std::move(ring), depth, maxDepth));
  reader->everywhere_ = everywhere;
  return reader;
}

io_uring_sqe* ReadAhead::prepare(void* data) {
  io_uring* ring = &ring_->ring;
  io_uring_sqe* sqe = io_uring_get_sqe(ring);
  while (!sqe) {  // full: hand the kernel what is there, then there is room
    io_uring_submit(ring);
    sqe = io_uring_get_sqe(ring);
  }
  io_uring_sqe_set_data(sqe, data);
  ++outstanding_;
  return sqe;
}

void ReadAhead::push(const FileEntry& entry) {
  Item& item = items_.emplace_back();
  item.result.entry = &entry;
  if (!usable_ || !entry.folder || !(entry.folder->ringSafe || everywhere_))
    item.stage = Item::kDone;
  startWaiting();
}

void ReadAhead::startWaiting() {
  while (!reopen_.empty() && inFlight_ < depth_ && usable_ && !draining_) {
    Item& item = *reopen_.front();
    reopen_.pop_front();
    start(item);
  }
  while (started_ < items_.size() && inFlight_ < depth_ && usable_ && !draining_) {
    Item& item = items_[started_++];
    if (item.stage == Item::kWaiting) start(item);
  }
}

void ReadAhead::start(Item& item) {
  const FileEntry& entry = *item.result.entry;
  if (item.slot < 0) {
    item.slot = freeSlots_.back();
    freeSlots_.pop_back();
  }
  std::string& name = slots_[std::size_t(item.slot)].name;
  name.clear();
  entry.folder->appendName(entry, name);
  io_uring_prep_openat(prepare(&item), entry.folder->dir->get(), name.c_str(), kOpenFlags, 0);
  item.stage = Item::kOpening;
  ++inFlight_;
}

void ReadAhead::opened(Item& item, int res) {
  if (res == -EMFILE || res == -ENFILE) {
    if (inFlight_ > 1 || closing_ > 0) {
      // Out of descriptors while others hold some: fewer files in flight, and this one
      // again once another is done, so that it is read as it would be alone.
      --inFlight_;
      depth_ = maxDepth_ = std::max(1u, inFlight_);
      item.stage = Item::kWaiting;
      reopen_.push_back(&item);
      return;
    }
    // Nothing of ours holds a descriptor but the ring itself, which took the last one:
    // the ring goes (once idle, in reap) and the plain path reads with its descriptor.
    usable_ = false;
    return finish(item, ReadResult::kPlain);
  }
  if (res < 0) {
    // The kernel will not open through the ring: neither this file nor the later ones.
    if (res == -EINVAL || res == -EOPNOTSUPP || res == -ENOSYS || res == -EPERM) usable_ = false;
    // Gone since it was gathered: left out. Any other failure (an I/O error, no
    // permission, no descriptor left) is the plain path's to judge, as for a file read
    // alone.
    return finish(item, res == -ENOENT ? ReadResult::kGone : ReadResult::kPlain);
  }
  item.fd = res;
  struct stat st;
  if (fstat(item.fd, &st) != 0 || !S_ISREG(st.st_mode)) return finish(item, ReadResult::kPlain);
  item.result.size = st.st_size;
  item.result.mtime = st.st_mtime;
  Slot& slot = slots_[std::size_t(item.slot)];
  slot.probe.reset(std::uint64_t(st.st_size), fileExtension(slot.name));
  askNext(item);
}

void ReadAhead::askNext(Item& item) {
  const media::DurationProbe& probe = slots_[std::size_t(item.slot)].probe;
  if (!probe.done()) return issueRead(item);
  item.result.duration =
      reportedDuration(probe.answer(), item.result.mtime, item.result.entry->startTime);
  finish(item, ReadResult::kRead);
}

void ReadAhead::issueRead(Item& item) {
  media::DurationProbe& probe = slots_[std::size_t(item.slot)].probe;
  const media::ByteRange range = probe.next();
  if (mustWait(range.length)) {
    parked_.push_back(&item);
    return;
  }
  item.room = probe.buffer();
  item.got = 0;
  hold(item);
  io_uring_prep_read(prepare(&item), item.fd, item.room, range.length, range.offset);
  item.stage = Item::kReading;
  ++readsInFlight_;
}

void ReadAhead::readDone(Item& item, int res) {
  --readsInFlight_;
  // Not read now (a read that would have blocked, an interrupted one): the plain path
  // reads the file again from the start.
  if (res == -EAGAIN || res == -EINTR || res == -ECANCELED) return finish(item, ReadResult::kPlain);
  media::DurationProbe& probe = slots_[std::size_t(item.slot)].probe;
  const media::ByteRange range = probe.next();
  if (res > 0) {
    item.got += std::size_t(res);
    // As pread: a short read goes on where it stopped.
    if (item.got < range.length) {
      io_uring_prep_read(prepare(&item), item.fd, item.room + item.got,
                         unsigned(range.length - item.got), range.offset + item.got);
      ++readsInFlight_;
      return;
    }
  }
  // The end of the file, or an error: the bytes not read count as missing, as past the
  // end of a file.
  probe.commit(item.got);
  hold(item);
  askNext(item);
  unpark();
}

void ReadAhead::finish(Item& item, int outcome) {
  if (item.fd >= 0) {
    io_uring_prep_close(prepare(nullptr), item.fd);
    item.fd = -1;
    ++closing_;
  }
  if (item.slot >= 0) {
    // A slot whose file needed large reads gives its memory back.
    Slot& slot = slots_[std::size_t(item.slot)];
    if (slot.probe.bytesKept() > kKeptPerSlot) slot.probe = media::DurationProbe();
    freeSlots_.push_back(item.slot);
    item.slot = -1;
  }
  heldBytes_ -= item.held;
  item.held = 0;
  item.result.outcome = ReadResult::Outcome(outcome);
  item.stage = Item::kDone;
  --inFlight_;
  startWaiting();
  unpark();
}

bool ReadAhead::mustWait(std::size_t length) const {
  return heldBytes_ + length > kMaxHeldBytes && readsInFlight_ > 0;
}

void ReadAhead::hold(Item& item) {
  const std::size_t held = slots_[std::size_t(item.slot)].probe.bytesHeld();
  heldBytes_ = heldBytes_ - item.held + held;
  item.held = held;
}

void ReadAhead::unpark() {
  while (!parked_.empty()) {
    Item& item = *parked_.front();
    if (mustWait(slots_[std::size_t(item.slot)].probe.next().length)) return;
    parked_.pop_front();
    issueRead(item);
  }
}

void ReadAhead::submitSome() {
  if (ring_ && io_uring_sq_ready(&ring_->ring) >= kSubmitBatch) io_uring_submit(&ring_->ring);
}

void ReadAhead::reap() {
  io_uring* ring = &ring_->ring;
  io_uring_cqe* cqe;
  unsigned head, seen = 0;
  io_uring_for_each_cqe(ring, head, cqe) {
    ++seen;
    --outstanding_;
    auto* item = static_cast<Item*>(io_uring_cqe_get_data(cqe));
    if (!item) {  // a close
      --closing_;
      continue;
    }
    if (draining_) {
      if (item->stage == Item::kOpening && cqe->res >= 0) ::close(cqe->res);
      item->stage = Item::kDone;
      continue;
    }
    if (item->stage == Item::kOpening)
      opened(*item, cqe->res);
    else
      readDone(*item, cqe->res);
  }
  io_uring_cq_advance(ring, seen);
  // A ring that is no longer used gives its descriptor back once nothing is in it.
  if (!usable_ && outstanding_ == 0) fail();
}

void ReadAhead::waitForOne() {
  if (outstanding_ == 0) return fail();  // nothing can complete: never wait
  io_uring* ring = &ring_->ring;
  int r = io_uring_submit(ring);
  if (r < 0 && r != -EINTR && r != -EAGAIN && r != -EBUSY) return fail();
  if (io_uring_cq_ready(ring) == 0) {
    const auto started = std::chrono::steady_clock::now();
    io_uring_cqe* cqe;
    r = io_uring_wait_cqe(ring, &cqe);
    if (r < 0 && r != -EINTR && r != -EAGAIN) return fail();
    if (depth_ < maxDepth_ && std::chrono::steady_clock::now() - started > kSlowWait) {
      depth_ = std::min(maxDepth_, depth_ * 2);
      startWaiting();
    }
  }
  reap();
}

const ReadResult& ReadAhead::front() {
  startWaiting();
  Item& first = items_.front();
  if (first.stage != Item::kDone) {
    submitSome();
    reap();
  }
  while (first.stage != Item::kDone) waitForOne();
  return first.result;
}

void ReadAhead::pop() {
  items_.pop_front();
  if (started_ > 0) --started_;
  // Hand the kernel new work while the caller hands this file on.
  submitSome();
}

void ReadAhead::fail() {
  // The ring cannot be trusted or used: wait for what it still holds, then leave every
  // file not read yet, and those queued later, to the plain path, and close the ring.
  drain();
  usable_ = false;
  draining_ = false;
  for (Item& item : items_) {
    if (item.stage == Item::kDone) continue;
    if (item.fd >= 0) ::close(item.fd);
    if (item.slot >= 0) freeSlots_.push_back(item.slot);
    const FileEntry* entry = item.result.entry;
    item = Item();
    item.result.entry = entry;
    item.stage = Item::kDone;
  }
  parked_.clear();
  reopen_.clear();
  inFlight_ = readsInFlight_ = closing_ = 0;
  heldBytes_ = 0;
  ring_.reset();
}

void ReadAhead::drain() {
  draining_ = true;
  // Steps prepared but not submitted may name buffers of this reader: submit them too,
  // and wait for everything, so that the kernel writes into no freed memory.
  while (outstanding_ > 0 && ring_) {
    const int r = io_uring_submit_and_wait(&ring_->ring, 1);
    // A ring that itself is broken: closing it cancels what it holds.
    if (r < 0 && r != -EINTR && r != -EAGAIN && r != -EBUSY) break;
    reap();
  }
  for (Item& item : items_)
    if (item.fd >= 0) {
      ::close(item.fd);
      item.fd = -1;
    }
}

}  // namespace archive::detail
