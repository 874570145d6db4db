// FileInfo: what a gathered entry reports; size and duration are read on first use.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "archive/archive.h"
#include "archive/detail/file_name.h"
#include "archive/detail/folder_store.h"
#include "archive/detail/header_read.h"
#include "archive/detail/markers.h"

namespace archive {

FileInfo::FileInfo(const detail::FileEntry& entry) : entry_(&entry) { reset(entry); }

void FileInfo::reset(const detail::FileEntry& entry) {
  file_.reset();
  entry_ = &entry;
  fileName.clear();
  owner = nullptr;
  if (entry.folder) {
    entry.folder->appendName(entry, fileName);
    owner = entry.folder->owner;
  }
  deleted = (entry.flags & detail::kDeleted) != 0;
  read_ = false;
  size_ = -1;
  mtime_ = 0;
  duration_ = -1;
  flags_ = 0;
  flagsRead_ = false;
}

void FileInfo::preset(std::int64_t size, std::int64_t mtime, std::int64_t duration) {
  file_.reset();
  read_ = true;
  size_ = size;
  mtime_ = mtime;
  duration_ = duration;
}

std::string FileInfo::getName() { return std::string(detail::fileStem(fileName)); }

std::string FileInfo::getEventId() { return std::string(detail::parseFileName(fileName).eventId); }

namespace {

// The folder's descriptor, or AT_FDCWD for an entry without a folder (one standing for
// no file yet: its name is empty, so nothing is found).
int dirFdOf(const detail::FileEntry& entry) {
  return entry.folder && entry.folder->dir ? entry.folder->dir->get() : AT_FDCWD;
}

}  // namespace

bool FileInfo::refresh() {
  read_ = true;
  size_ = -1;
  struct stat st;
  if (fstatat(dirFdOf(*entry_), fileName.c_str(), &st, 0) != 0 || !S_ISREG(st.st_mode))
    return false;
  size_ = st.st_size;
  mtime_ = st.st_mtime;
  return true;
}

int FileInfo::openRegular() {
  detail::FileHandle file;
  file.reset(openat(dirFdOf(*entry_), fileName.c_str(), detail::kOpenFlags));
  if (file.get() < 0) return errno;
  struct stat st;
  if (fstat(file.get(), &st) != 0 || !S_ISREG(st.st_mode)) return EINVAL;
  file_ = std::move(file);
  read_ = true;
  size_ = st.st_size;
  mtime_ = st.st_mtime;
  return 0;
}

bool FileInfo::openAndRefresh() {
  file_.reset();
  const int error = openRegular();
  if (error == 0) return true;
  if (error == ENOENT) {  // gone since it was gathered
    read_ = true;
    size_ = -1;
    return false;
  }
  // One that exists but cannot be opened (an I/O error, no permission) is listed with
  // what a stat by name gives, its header unread.
  return refresh();
}

std::int64_t FileInfo::getSize() {
  if (!read_) refresh();
  return size_ < 0 ? 0 : size_;
}

std::int64_t FileInfo::getStartTime() { return entry_->startTime; }

std::int64_t FileInfo::getDuration() {
  if (duration_ >= 0) return duration_;
  duration_ = 0;
  // Not opened when handed on: open now, keeping what was read if that fails.
  if (file_.get() < 0) openRegular();
  if (file_.get() < 0) return duration_;
  const media::Answer answer =
      detail::readDuration(file_.get(), std::uint64_t(size_), detail::fileExtension(fileName));
  file_.reset();
  duration_ = detail::reportedDuration(answer, mtime_, entry_->startTime);
  return duration_;
}

bool FileInfo::hasFlag(std::uint8_t flag) {
  if (entry_->flags & flag) return true;  // the queue's own entries: known when gathered
  if (!flagsRead_) {
    detail::Markers* markers = entry_->folder ? entry_->folder->markers : nullptr;
    if (!markers) return false;
    // Every flag comes with the one asked, so a listing that shows them all hashes each
    // name once.
    flags_ = markers->flagsOf(fileName, detail::kMarkerFlags);
    flagsRead_ = true;
  }
  return (flags_ & flag) != 0;
}

bool FileInfo::isRecording() { return hasFlag(detail::kRecording); }
bool FileInfo::isLocked() { return hasFlag(detail::kLocked); }
bool FileInfo::isDownloaded() { return hasFlag(detail::kDownloaded); }
bool FileInfo::isInAFUQueue() { return hasFlag(detail::kInAFUQueue); }

boost::filesystem::path FileInfo::path() const {
  if (!entry_->folder) return boost::filesystem::path(fileName);
  return entry_->folder->path / fileName;
}

std::string FileInfo::extension() const { return std::string(detail::fileExtension(fileName)); }

}  // namespace archive
