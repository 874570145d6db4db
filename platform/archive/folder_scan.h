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

// FileEntry::flags holds kDeleted, and kInAFUQueue for the entries of the queue (known
// when gathered); the other flags are looked up when asked.
enum EntryFlag : std::uint8_t {
  kRecording = 1,
  kLocked = 2,
  kDownloaded = 4,
  kInAFUQueue = 8,
  kDeleted = 16,
};

class Markers;

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

// The text around the start token that names of a folder share: "cam1_" and ".mp4" in
// cam1_20260301T140509Z.mp4.
struct NameShape {
  std::string head;  // everything before the token
  std::string tail;  // from the last "." on, or empty
};

// One scanned folder, or a part of one when its names outgrow 32-bit offsets (the parts
// share one descriptor). Owned by its archive, so entries stay valid while the archive
// lives.
struct Folder {
  // A folder has at most this many shapes; names of others are stored whole.
  static constexpr std::size_t kMaxShapes = 255;

  const Owner* owner = nullptr;
  boost::filesystem::path path;  // <dir> or <dir>/.trash
  // The stored parts of the entries' names, back to back, no separators: a whole name
  // for shape 0, else what lies between the token and the tail (the event id with its
  // "_", often nothing).
  std::string names;
  std::vector<NameShape> shapes;     // entry shape k is shapes[k - 1]
  std::shared_ptr<const DirFd> dir;  // the folder, open while the folder lives
  Markers* markers = nullptr;        // the flags of the archive's files
  std::uint64_t sequence = 0;        // folders are numbered as they are made, from 1

  // Appends the file name of `entry` to `out`.
  void appendName(const FileEntry& entry, std::string& out) const;
  std::string nameOf(const FileEntry& entry) const {
    std::string name;
    appendName(entry, name);
    return name;
  }
};

using FolderStore = std::deque<std::unique_ptr<Folder>>;

// The flags of an archive: the names of its marker folders, each folder read on the
// first question about its flag (a missing folder = nobody carries the flag). Most
// questions come from the few files handed on; counting asks only for the queue.
class Markers {
 public:
  explicit Markers(std::string dir) : dir_(std::move(dir)) {}
  // Opens and closes each marker folder, so that one that exists but cannot be read is
  // reported when the archive is first gathered; throws std::runtime_error naming it.
  void check() const;
  // Those of the EntryFlag bits `wanted` (kRecording, kLocked, kDownloaded, kInAFUQueue)
  // that `name` carries. Reads the folders of `wanted` not read yet; may throw as check().
  std::uint8_t flagsOf(std::string_view name, std::uint8_t wanted);
  // Whether anybody carries `flag` (reading its folder if need be).
  bool anyCarries(std::uint8_t flag);
  // The flags whose folders have been read.
  std::uint8_t loaded() const { return loaded_; }

 private:
  void load(std::uint8_t flags);

  std::string dir_;
  NameSet names_;             // every marker name, its bits = the flags it carries
  std::uint8_t loaded_ = 0;   // flags whose folder has been read
  std::uint8_t carried_ = 0;  // flags that at least one name carries
};

// Whether folder `path` exists and can be read (opened and closed again). False when it
// does not exist; throws std::runtime_error naming it for any other failure.
bool openFolder(const std::string& path);

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
  Markers* markers = nullptr;      // the archive's, asked later for the entries' flags
  std::uint8_t addFlags = 0;       // set on every entry (kDeleted for the trash)
  std::uint8_t requireFlags = 0;   // only entries carrying these (kInAFUQueue), looked up now
};

// Reads folder `request.path` once and appends an entry per selected recording. The
// names go to folders created in `store`. A missing folder appends nothing; any other
// failure throws std::runtime_error "cannot read archive folder <path>: <reason>".
void scanFolder(const ScanRequest& request, FolderStore& store, std::deque<FileEntry>& out);

}  // namespace archive::detail
