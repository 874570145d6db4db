// Marker folders read whole once, into one name set whose names carry flag bits.
#include "archive/detail/markers.h"

#include "archive/detail/dir_reader.h"

namespace archive::detail {

namespace {

struct MarkerFolder {
  std::uint8_t flag;
  const char* name;
};
constexpr MarkerFolder kMarkerFolders[] = {{kInAFUQueue, "/.afu"},
                                           {kLocked, "/.locked"},
                                           {kDownloaded, "/.downloaded"},
                                           {kRecording, "/.recording"}};

}  // namespace

Markers::Markers(const std::string& dir) {
  for (const MarkerFolder& folder : kMarkerFolders) {
    DirReader reader(dir + folder.name);
    if (!reader.open()) continue;
    while (const dirent* entry = reader.next()) {
      names_.insert(entry->d_name, folder.flag);
      carried_ |= folder.flag;
    }
  }
}

}  // namespace archive::detail
