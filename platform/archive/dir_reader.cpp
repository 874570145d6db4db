// Folders read with readdir through descriptors opened once.
#include "archive/detail/dir_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace archive::detail {

DirFd::~DirFd() {
  if (fd_ >= 0) ::close(fd_);
}

void throwFolderError(const std::string& path, int error) {
  throw std::runtime_error(path + ": cannot read: " + std::strerror(error));
}

// getdents64 fills the buffer with records laid out as the C library's 64-bit dirent.
static_assert(sizeof(dirent::d_ino) == 8 && sizeof(dirent::d_off) == 8 &&
                  offsetof(dirent, d_name) == 19,
              "struct dirent must have the 64-bit layout (large-file support on 32-bit targets)");

DirReader::DirReader(const std::string& path, std::shared_ptr<const DirFd>* kept) : path_(path) {
  fd_ = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd_ < 0) {
    if (errno != ENOENT) throwFolderError(path, errno);
    return;
  }
  // The kept descriptor is read too: reading moves only its offset, which the opens
  // and stats relative to it do not use.
  if (kept)
    *kept = std::make_shared<const DirFd>(fd_);
  else
    ownsFd_ = true;
}

DirReader::~DirReader() {
  if (ownsFd_) ::close(fd_);
}

const dirent* DirReader::next() {
  for (;;) {
    if (at_ >= filled_) {
      if (!buffer_) buffer_ = std::make_unique<char[]>(kBufferSize);
      const ssize_t n = ::getdents64(fd_, buffer_.get(), kBufferSize);
      // ENOENT: the folder was removed while it was read, which ends it as readdir does.
      if (n < 0 && errno != ENOENT) throwFolderError(path_, errno);
      if (n <= 0) return nullptr;
      filled_ = std::size_t(n);
      at_ = 0;
    }
    const auto* entry = reinterpret_cast<const dirent*>(buffer_.get() + at_);
    at_ += entry->d_reclen;
    if (entry->d_name[0] != '.') return entry;
  }
}

bool openFolder(const std::string& path) { return DirReader(path).open(); }

}  // namespace archive::detail
