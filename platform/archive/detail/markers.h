// The flags of an archive's recordings, kept as names in marker folders (.afu, .locked,
// .downloaded, .recording); see docs/archive-layout.md.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "archive/detail/name_set.h"

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

}  // namespace archive::detail
