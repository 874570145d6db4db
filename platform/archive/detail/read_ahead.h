// Reading the headers of the next files of a listing ahead of the hand-on, many at once
// through io_uring: flash answers many reads at once but each one alone slowly. Every
// file in flight is a small state machine (open, fstat, the ranges the media parsers ask
// for, close); a file that finishes makes room for the next in browse order at once,
// and files are handed back in order. Where io_uring is missing or refused, or a folder
// lies on a file system where it is not known to behave, files are left to the plain
// path: one file after another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/duration.h"

struct io_uring_sqe;

namespace archive::detail {

struct FileEntry;

// What was read of one file.
struct ReadResult {
  enum Outcome : std::uint8_t {
    kRead,   // size, mtime and duration hold what the plain path would report
    kPlain,  // not read here: the plain path reads it (and decides whether it is listed)
    kGone,   // vanished since it was gathered: left out
  };
  const FileEntry* entry = nullptr;
  Outcome outcome = kPlain;
  std::int64_t size = 0;
  std::int64_t mtime = 0;
  std::int64_t duration = 0;
};

// Whether io_uring is known to read correctly, and in parallel, from the file system of
// the open folder `dirFd`: local block file systems. FUSE and network file systems are
// read one file after another.
bool ringServes(int dirFd);

class ReadAhead {
 public:
  // Files in flight at once: kStartDepth, doubled whenever a wait shows storage that
  // answers slowly, up to kMaxDepth; ARCHIVE_READ_DEPTH (1 to 1024) fixes the depth.
  // Never more than half the descriptors the process may open.
  static constexpr unsigned kStartDepth = 32;
  static constexpr unsigned kMaxDepth = 512;

  // The reader, or null when io_uring is switched off (ARCHIVE_IO_URING=0), missing (an
  // older kernel) or refused (the kernel.io_uring_disabled sysctl, a seccomp filter).
  static std::unique_ptr<ReadAhead> create();
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  // How many files may be queued: those in flight and those finished or waiting for a
  // place, a few times the depth.
  std::size_t capacity() const { return capacity_; }
  std::size_t size() const { return items_.size(); }
  // Queues the file of `entry` (which must outlive its read) behind the others; it is
  // read as soon as a place in flight is free.
  void push(const FileEntry& entry);
  // The first file queued, once it is finished (waiting for it if need be); the queue
  // must not be empty. Valid until pop().
  const ReadResult& front();
  void pop();

 private:
  // A file of the queue and where its read stands.
  struct Item {
    enum Stage : std::uint8_t { kWaiting, kOpening, kReading, kDone };
    ReadResult result;
    Stage stage = kWaiting;
    int fd = -1;
    int slot = -1;                 // of slots_, from the open to the finish
    std::uint8_t* room = nullptr;  // where the range being read goes
    std::size_t got = 0;           // bytes of it read so far
    std::size_t held = 0;          // header bytes this file holds (read, and being read)
  };
  // What a file in flight needs besides its place in the queue, kept from file to file so
  // that reading a million files does not allocate a million times.
  struct Slot {
    std::string name;  // for the open
    media::DurationProbe probe;
  };
  struct Ring;
  ReadAhead(std::unique_ptr<Ring> ring, unsigned depth, unsigned maxDepth);

  void start(Item& item);
  void startWaiting();
  void opened(Item& item, int res);
  void readDone(Item& item, int res);
  void askNext(Item& item);
  void issueRead(Item& item);
  void finish(Item& item, int outcome);
  // A submission entry for an operation whose completion carries `data` (an Item, or
  // null for a close).
  io_uring_sqe* prepare(void* data);
  void submitSome();
  void reap();
  void waitForOne();
  // Whether a read of `length` bytes waits for held bytes to drop (never when no read is
  // in flight, so the oldest waiting file always goes on).
  bool mustWait(std::size_t length) const;
  // Counts what `item`'s parser holds now.
  void hold(Item& item);
  void unpark();
  void fail();
  void drain();

  std::unique_ptr<Ring> ring_;
  std::deque<Item> items_;  // in browse order; references stay valid at both ends
  std::vector<Slot> slots_;
  std::vector<int> freeSlots_;
  unsigned depth_;     // files in flight at most now
  unsigned maxDepth_;  // what depth_ may grow to; lowered when descriptors run out
  const std::size_t capacity_;
  std::size_t started_ = 0;  // items_[0, started_) have been started
  unsigned inFlight_ = 0;    // files between their open and their finish
  unsigned readsInFlight_ = 0;
  unsigned closing_ = 0;       // closes prepared and not yet completed
  unsigned outstanding_ = 0;   // operations prepared and not yet completed
  std::size_t heldBytes_ = 0;  // header bytes held by the files in flight
  std::deque<Item*> parked_;   // files whose next read waits for held bytes to drop
  std::deque<Item*> reopen_;   // files whose open found no descriptor left, to open again
  bool usable_ = true;         // false once the ring failed or refused: the rest goes plain
  bool draining_ = false;      // completions are only waited for, nothing new started
  bool everywhere_ = false;    // the ring serves every folder, whatever its file system
};

}  // namespace archive::detail
