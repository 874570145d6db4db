// The flags of an archive's recordings, kept as names in marker folders (.afu, .locked,
// .downloaded, .recording); see docs/archive-layout.md.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "archive/archive.h"
#include "archive/detail/name_set.h"

namespace archive::detail {

// FileEntry::flags holds kDeleted, and kInAFUQueue for the entries of the queue (known
// when gathered); the other flags are looked up when asked.
enum EntryFlag : std::uint8_t {
  kRecording = kRecordingMarker,
  kLocked = kLockedMarker,
  kDownloaded = kDownloadedMarker,
  kInAFUQueue = kAFUMarker,
  kDeleted = 16,
};

inline constexpr std::uint8_t kMarkerFlags = kRecording | kLocked | kDownloaded | kInAFUQueue;

// The flags of an archive: the names of its marker folders, each read whole when the
// archive is gathered, so that a marker folder that cannot be read is reported with the
// gathering, never half-way through a listing. A missing folder, or one not read, means
// nobody carries its flag. Marker folders are small beside the archive: a flag marks the
// exception.
class Markers {
 public:
  // Reads those of the marker folders of archive folder `dir` named by the Marker bits
  // `folders` that were not read before; throws std::runtime_error naming one that
  // exists but cannot be read.
  void read(const std::string& dir, std::uint8_t folders);
  // Those of the EntryFlag bits `wanted` (kRecording, kLocked, kDownloaded, kInAFUQueue)
  // that `name` carries.
  std::uint8_t flagsOf(std::string_view name, std::uint8_t wanted) const {
    // Asking only when some name carries a wanted flag spares the hash for most files.
    if (!(wanted & carried_)) return 0;
    return names_.bitsOf(name) & wanted;
  }
  // Whether anybody carries `flag`.
  bool anyCarries(std::uint8_t flag) const { return (carried_ & flag) != 0; }

 private:
  NameSet names_;             // every marker name, its bits = the flags it carries
  std::uint8_t carried_ = 0;  // flags that at least one name carries
  std::uint8_t read_ = 0;     // the folders read so far
};

}  // namespace archive::detail
