// The archive library: the recordings of one recorder (or one channel) on disk, the
// trash of deleted recordings still kept, and the queue of recordings waiting for
// automatic upload (AFU). Read only. The on-disk layout is described in
// docs/archive-layout.md.
#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace archive {

class Archive;
class FileInfo;

// Held in 32 bits; the numeric values are part of the command-line contract.
enum class BrowseSortOrder : std::int32_t {
  none = 0,   // the order in which the entries were gathered
  time = 1,   // start time ascending, ties by file name ascending
  rtime = 2,  // the exact reverse of `time`
};

// What a file's owner reports: for a recorder archive its id and label, for a single
// channel the channel's name prefix in both.
struct Owner {
  std::string recorderName;
  std::string recorderLabel;
};

// Selects the files a browse hands on. kind 0: every file passes; kind 1: only the
// files for which `predicate` returns true.
struct BrowseFilter {
  enum Kind : int { kNone = 0, kPredicate = 1 };

  BrowseFilter() = default;
  BrowseFilter(Kind k, std::function<bool(FileInfo&)> p) : kind(k), predicate(std::move(p)) {}

  Kind kind = kNone;
  std::function<bool(FileInfo&)> predicate;
};

// The marker folders of an archive (.recording, .locked, .downloaded, .afu) as bits of a
// mask: the flags a run asks of its files.
enum Marker : std::uint8_t {
  kRecordingMarker = 1,
  kLockedMarker = 2,
  kDownloadedMarker = 4,
  kAFUMarker = 8,
  kAllMarkers = 15,
};

namespace detail {
struct Folder;  // one scanned folder: owner, path, name store
struct FileInfoAccess;

// An open file descriptor, closed with its owner; moved, never shared.
class FileHandle {
 public:
  FileHandle() = default;
  FileHandle(FileHandle&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
  FileHandle& operator=(FileHandle&& other) noexcept {
    if (this != &other) {
      reset(other.fd_);
      other.fd_ = -1;
    }
    return *this;
  }
  ~FileHandle() { reset(); }
  int get() const { return fd_; }
  // Closes the descriptor held, then holds `fd` (-1: none).
  void reset(int fd = -1) noexcept;

 private:
  int fd_ = -1;
};

// One gathered recording. Compact on purpose (an archive holds half a million): a name
// that follows the start-token pattern is not stored whole (its token is the start time,
// the text around it is shared by the folder's names; only an event id is stored), the
// others live in the folder's name store; size, duration and the like are read only
// when the file is handed on. 24 bytes on a 64-bit system.
struct FileEntry {
  const Folder* folder = nullptr;
  std::int64_t startTime = 0;    // seconds since the epoch, UTC
  std::uint32_t nameOffset = 0;  // of the stored part, into folder->names
  std::uint16_t nameLength = 0;
  std::uint8_t flags = 0;  // EntryFlag bits known when gathered (detail/markers.h)
  std::uint8_t shape = 0;  // 0: the stored part is the name, else see Folder
};
}  // namespace detail

// The metadata of one file, handed to a browse callback. Getters that touch the disk
// (size, duration) read on first use and keep the result.
class FileInfo {
 public:
  FileInfo(const detail::FileEntry& entry);
  // Move-only: it may hold the file open.
  FileInfo(FileInfo&&) = default;
  FileInfo& operator=(FileInfo&&) = default;

  std::string getName();        // the file name without its extension
  std::string getEventId();     // the event id of the name, or empty
  std::int64_t getSize();       // bytes
  std::int64_t getStartTime();  // seconds since the epoch, UTC
  std::int64_t getDuration();   // whole seconds
  bool isRecording();
  bool isLocked();
  bool isDownloaded();
  bool isInAFUQueue();

  boost::filesystem::path path() const;  // <dir>/<fileName> or <dir>/.trash/<fileName>
  std::string extension() const;         // text after the last ".", or empty

  std::string fileName;  // the name as stored; also the file's identifier
  bool deleted = false;  // the file lies in the trash
  const Owner* owner = nullptr;

 private:
  friend struct detail::FileInfoAccess;
  // Read size and modification time; false when the file is gone or no longer a
  // regular file. refresh() stats by name; openAndRefresh() opens the file and keeps it
  // open for getDuration(), which then needs no second lookup; a file that exists but
  // cannot be opened is stat'ed by name instead.
  bool refresh();
  bool openAndRefresh();
  // Opens a regular file into file_ (closed before) and reads size and modification time
  // from it; 0, or with nothing changed the error: the open's, or EINVAL when the file
  // is not regular or its fstat fails.
  int openRegular();
  // Makes this the FileInfo of `entry`, as if newly made (reusing the name's buffer).
  void reset(const detail::FileEntry& entry);
  // What was read ahead of the hand-on: size, modification time and duration.
  void preset(std::int64_t size, std::int64_t mtime, std::int64_t duration);
  // Whether the file carries marker `flag`; one lookup gives every flag read so far.
  bool hasFlag(std::uint8_t flag);

  const detail::FileEntry* entry_;
  detail::FileHandle file_;     // open between the hand-on and getDuration()
  bool read_ = false;           // size_ and mtime_ were read (or found missing)
  std::int64_t size_ = -1;      // -1: the file was missing
  std::int64_t mtime_ = 0;      // valid when size_ >= 0
  std::int64_t duration_ = -1;  // -1: not read yet
  std::uint8_t flags_ = 0;      // the marker flags, once flagsRead_
  bool flagsRead_ = false;      // every marker flag is looked up at the first question
};

namespace detail {
// What the archive's two views share: the archive they look into.
class ArchiveView {
 public:
  explicit ArchiveView(const Archive& archive) : archive_(archive) {}

 protected:
  const Archive& archive_;
};
}  // namespace detail

// The AFU queue of an archive: its recordings, in the archive folder or in its trash,
// that carry an .afu marker.
class AFUQueue : detail::ArchiveView {
 public:
  using ArchiveView::ArchiveView;
  virtual ~AFUQueue() = default;
  // Appends the queued files' entries to `entries`.
  virtual void appendEntries(std::deque<detail::FileEntry>& entries) const;
};

// The trash of an archive: deleted recordings still kept in <dir>/.trash.
class Trash : detail::ArchiveView {
 public:
  using ArchiveView::ArchiveView;
  virtual ~Trash() = default;
  // Appends the trash's entries to `entries`; each is `deleted`.
  virtual void appendEntries(std::deque<detail::FileEntry>& entries) const;
};

// One recording store. Created on the heap and shared; never copied.
class Archive {
 public:
  // A configured recorder's archive. `kind` names the device's stream profile; it
  // selects nothing in the archive.
  // `extensions` is a comma-separated list without dots ("avi,mov,mp4,ts"), compared
  // ignoring ASCII case; empty means every extension, files without one included.
  Archive(std::string const& id, std::string const& kind, std::string const& label,
          boost::filesystem::path const& directory, std::string const& extensions);
  // A single channel: the files of `directory` whose names begin with `name` (byte
  // comparison; empty = every name).
  Archive(std::string const& name, boost::filesystem::path const& directory,
          std::string const& extensions);
  virtual ~Archive();
  Archive(const Archive&) = delete;
  Archive& operator=(const Archive&) = delete;

  // Appends the entries of the archive proper (not the trash) to `entries`. A missing
  // directory is an empty archive; any other failure to read a folder throws
  // std::runtime_error naming the folder and the system's reason.
  virtual void appendEntries(std::deque<detail::FileEntry>& entries) const;

  void setExtensions(std::string const& extensions);
  // The marker folders read, whole, when the archive is first gathered: those of the
  // flags (Marker bits) the run will ask of its files; all of them unless set. A folder
  // not read is not touched, and its flag is false for every file. Gathering the AFU
  // queue reads .afu whatever is set.
  void readMarkers(std::uint8_t markers);

  AFUQueue afuQueue;
  Trash trash;

 private:
  friend class AFUQueue;
  friend class Trash;
  struct State;
  std::unique_ptr<State> state_;
};

namespace detail {
// Visits `entries`: keeps those `filter` passes, orders them by `order`, skips the first
// `start` of them and hands at most `limit` (0 = no limit) to `callback`, in order.
// Files that vanished from disk are left out. `callback` returning false stops the walk.
void browseFileEntries(std::deque<FileEntry>& entries, BrowseSortOrder order, std::uint64_t start,
                       std::uint64_t limit, BrowseFilter const& filter,
                       std::function<bool(FileInfo&)> callback);
}  // namespace detail

}  // namespace archive
