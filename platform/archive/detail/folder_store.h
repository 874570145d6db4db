// The folders an archive has gathered and the names of their entries. A name that
// follows the start-token pattern is kept as the text around its token, shared by the
// folder's names, plus what lies between the token and that text (an event id, often
// nothing): the token itself is the entry's start time.
#pragma once

#include <boost/filesystem/path.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "archive/archive.h"
#include "archive/detail/dir_reader.h"

namespace archive::detail {

class Markers;
struct NameParts;

// The text around the start token that names of a folder share: "cam1_" and ".mp4" in
// cam1_20260301T140509Z.mp4.
struct NameShape {
  std::string head;  // everything before the token
  std::string tail;  // from the last "." on, or empty
};

// What the entries of one scanned folder share.
struct FolderOrigin {
  const Owner* owner = nullptr;
  boost::filesystem::path path;      // <dir> or <dir>/.trash
  std::shared_ptr<const DirFd> dir;  // the folder, open while its entries live
  Markers* markers = nullptr;        // the flags of the archive's files
  bool ringSafe = false;             // its files may be read through io_uring (ringServes)
};

// One scanned folder, or a part of one when its names outgrow 32-bit offsets.
struct Folder : FolderOrigin {
  // A folder has at most this many shapes; names of others are stored whole.
  static constexpr std::size_t kMaxShapes = 255;

  // The stored parts of the entries' names, back to back, no separators: a whole name
  // for shape 0, else what lies between the token and the tail.
  std::string names;
  std::vector<NameShape> shapes;  // entry shape k is shapes[k - 1]
  // Where the folder's first entry was put in its deque: folders gathered into one deque
  // are ordered by it, and two of them never share it.
  std::size_t position = 0;

  // Appends the file name of `entry` to `out`.
  void appendName(const FileEntry& entry, std::string& out) const;
};

// Owns the folders, so that entries stay valid while their archive lives.
class FolderStore {
 public:
  // The entries added from now on belong to a new folder of `origin`.
  void startFolder(FolderOrigin origin);
  // The entry of `name` (parsed as `parts`, at most 65535 bytes) starting at `startTime`,
  // its name stored; it is to be put at `position` of its deque.
  FileEntry add(std::string_view name, const NameParts& parts, std::int64_t startTime,
                std::uint8_t flags, std::size_t position);
  // Gives back what the current folder's name store reserved beyond its size.
  void finishFolder();

 private:
  Folder& newPart(std::size_t position);

  std::deque<std::unique_ptr<Folder>> folders_;
  FolderOrigin origin_;
  Folder* current_ = nullptr;  // the current folder's newest part; null before its first entry
};

}  // namespace archive::detail
