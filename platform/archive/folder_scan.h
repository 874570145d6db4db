// Reading the folders of an archive: the recordings of <dir> or <dir>/.trash in one
// pass, and the marker folders into name sets. The layout is described in
// docs/archive-layout.md.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <boost/filesystem/path.hpp>

#include "archive/archive.h"
#include "archive/name_set.h"

namespace archive::detail {

enum EntryFlag : std::uint8_t {
  kRecording = 1,
  kLocked = 2,
  kDownloaded = 4,
  kInAFUQueue = 8,
  kDeleted = 16,
};

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

// One scanned folder, or a part of one when its names outgrow 32-bit offsets (the parts
// share one descriptor). Owned by its archive, so entries stay valid while the archive
// lives.
struct Folder {
  const Owner* owner = nullptr;
  boost::filesystem::path path;  // <dir> or <dir>/.trash
  std::string pathText;          // path.string(), kept for building file paths fast
  std::string names;             // the entries' names back to back, no separators
  std::shared_ptr<const DirFd> dir;  // the folder, open while the folder lives

  std::string_view nameOf(const FileEntry& entry) const {
    return std::string_view(names.data() + entry.nameOffset, entry.nameLength);
  }
};

using FolderStore = std::deque<std::unique_ptr<Folder>>;

// The flags of an archive: one name set per marker folder (missing folder = empty set).
struct Markers {
  NameSet afu, locked, downloaded, recording;
  std::uint8_t flagsOf(std::string_view name) const;
};

// Whether folder `path` exists and can be read (opened and closed again). False when it
// does not exist; throws std::runtime_error naming it for any other failure.
bool openFolder(const std::string& path);

// Reads the marker folders <dir>/.afu, .locked, .downloaded and .recording.
// Throws std::runtime_error for a folder that exists but cannot be read.
Markers readMarkers(const std::string& dir);

// Which names of a folder are recordings of the archive.
struct Selection {
  std::vector<std::string> extensions;  // empty = every name, also without extension
  bool byPrefix = false;                // single channel: the name must start with prefix
  std::string prefix;

  // Parses a comma-separated list; blanks around items and empty items are dropped.
  void setExtensions(const std::string& list);
  bool passes(std::string_view name) const;
};

struct ScanRequest {
  const Owner* owner = nullptr;
  boost::filesystem::path path;
  const Selection* selection = nullptr;
  const Markers* markers = nullptr;
  std::uint8_t addFlags = 0;       // set on every entry (kDeleted for the trash)
  std::uint8_t requireFlags = 0;   // only entries carrying these (kInAFUQueue)
};

// Reads folder `request.path` once and appends an entry per selected recording. The
// names go to folders created in `store`. A missing folder appends nothing; any other
// failure throws std::runtime_error "cannot read archive folder <path>: <reason>".
void scanFolder(const ScanRequest& request, FolderStore& store, std::deque<FileEntry>& out);

}  // namespace archive::detail
