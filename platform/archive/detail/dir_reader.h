// Reading a folder of an archive: its entries one by one, through a descriptor that
// can be kept open for the files inside it.
#pragma once

#include <dirent.h>

#include <cstddef>
#include <memory>
#include <string>

namespace archive::detail {

// An open directory descriptor (O_RDONLY | O_DIRECTORY | O_CLOEXEC), closed with its
// last owner. Files are stat'ed and opened relative to it: no walk of the whole path
// per file.
class DirFd {
 public:
  explicit DirFd(int fd) : fd_(fd) {}
  ~DirFd();
  DirFd(const DirFd&) = delete;
  DirFd& operator=(const DirFd&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

// Throws std::runtime_error "<path>: cannot read: <reason>".
[[noreturn]] void throwFolderError(const std::string& path, int error);

// An open folder; `open()` is false when it does not exist, any other failure throws
// as throwFolderError. When `kept` is given it receives a descriptor of the folder that
// outlives the reader.
class DirReader {
 public:
  explicit DirReader(const std::string& path, std::shared_ptr<const DirFd>* kept = nullptr);
  ~DirReader();
  DirReader(const DirReader&) = delete;
  DirReader& operator=(const DirReader&) = delete;

  bool open() const { return fd_ >= 0; }
  // The next entry whose name does not begin with "." (marker folders, the trash and
  // hidden files are no recordings), or null at the end. Valid until the next call.
  const dirent* next();

 private:
  // Entries are read with getdents64 straight into a buffer twice the C library's:
  // half the calls on a folder of a hundred thousand names, and no copy per entry.
  static constexpr std::size_t kBufferSize = 64 * 1024;
  std::string path_;
  int fd_ = -1;
  bool ownsFd_ = false;  // else the kept descriptor is read, and outlives the reader
  std::unique_ptr<char[]> buffer_;
  std::size_t filled_ = 0, at_ = 0;  // bytes in buffer_, and the next entry's offset
};

// Whether folder `path` exists and can be read (opened and closed again). False when it
// does not exist; throws as throwFolderError for any other failure.
bool openFolder(const std::string& path);

}  // namespace archive::detail
