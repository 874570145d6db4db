// Folders read with readdir through descriptors opened once.
#include "archive/detail/dir_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace archive::detail {

DirFd::~DirFd() {
  if (fd_ >= 0) ::close(fd_);
}

void throwFolderError(const std::string& path, int error) {
  throw std::runtime_error(path + ": cannot read: " + std::strerror(error));
}

DirReader::DirReader(const std::string& path, std::shared_ptr<const DirFd>* kept) : path_(path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    if (errno != ENOENT) throwFolderError(path, errno);
    return;
  }
  int readFd = fd;
  if (kept) {
    *kept = std::make_shared<const DirFd>(fd);
    readFd = fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (readFd < 0) throwFolderError(path, errno);
  }
  dir_ = fdopendir(readFd);
  if (!dir_) {
    const int error = errno;
    ::close(readFd);
    throwFolderError(path, error);
  }
}

DirReader::~DirReader() {
  if (dir_) closedir(dir_);
}

const dirent* DirReader::next() {
  for (;;) {
    errno = 0;
    const dirent* entry = readdir(dir_);
    if (!entry) {
      if (errno != 0) throwFolderError(path_, errno);
      return nullptr;
    }
    if (entry->d_name[0] != '.') return entry;
  }
}

bool openFolder(const std::string& path) { return DirReader(path).open(); }

}  // namespace archive::detail
