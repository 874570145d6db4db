// Reading many files' headers at once through io_uring: a batch of files is opened,
// their header ranges read and the files closed with a few system calls for the whole
// batch, where one file after another costs five or more each. The browse uses it once
// a listing asks for durations; where io_uring is missing or refused it reads one file
// after another as before.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace archive::detail {

// One file of a batch.
struct ReadItem {
  int dirFd = -1;              // the folder it is opened relative to
  std::string name;            // its name in that folder
  std::string extension;       // a hint for the media parsers
  std::int64_t startTime = 0;  // for the duration of a header without one
  // What was read. Not `ready`: the file could not be opened, or is no regular file;
  // it is left to the plain path, which decides as it would for any file.
  bool ready = false;
  std::int64_t size = 0;
  std::int64_t mtime = 0;
  std::int64_t duration = 0;
};

class ReadAhead {
 public:
  // Files read in one batch.
  static constexpr std::size_t kBatch = 64;

  // The reader, or null when io_uring is switched off (ARCHIVE_IO_URING=0), missing
  // (an older kernel) or refused (the kernel.io_uring_disabled sysctl, a seccomp filter).
  static std::unique_ptr<ReadAhead> create();
  ~ReadAhead();
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;

  // Reads each item (at most kBatch): open, fstat, the ranges the media parsers ask
  // for, close. The results are those the plain path gives for each file read alone.
  void read(std::vector<ReadItem>& items);
  // False once the kernel refused an operation: the caller reads one file after another.
  bool usable() const { return usable_; }

 private:
  struct Ring;
  explicit ReadAhead(std::unique_ptr<Ring> ring);

  std::unique_ptr<Ring> ring_;
  bool usable_ = true;
};

}  // namespace archive::detail
