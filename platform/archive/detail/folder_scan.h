// Gathering the recordings of <dir> or <dir>/.trash in one pass over the folder. The
// layout is described in docs/archive-layout.md.
#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <deque>

#include "archive/archive.h"

namespace archive::detail {

class FolderStore;
class Markers;
struct Selection;

struct ScanRequest {
  const Owner* owner = nullptr;
  boost::filesystem::path path;
  const Selection* selection = nullptr;
  Markers* markers = nullptr;     // the archive's, asked later for the entries' flags
  std::uint8_t addFlags = 0;      // set on every entry (kDeleted for the trash)
  std::uint8_t requireFlags = 0;  // only entries carrying these (kInAFUQueue), looked up now
};

// Reads folder `request.path` once and appends an entry per selected recording; the
// names go to `store`. A missing folder appends nothing; any other failure throws
// std::runtime_error "<path>: cannot read: <reason>".
void scanFolder(const ScanRequest& request, FolderStore& store, std::deque<FileEntry>& out);

}  // namespace archive::detail
