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

void Markers::read(const std::string& dir, std::uint8_t folders) {
  for (const MarkerFolder& folder : kMarkerFolders) {
    if (!(folders & folder.flag) || (read_ & folder.flag)) continue;
    read_ |= folder.flag;
    DirReader reader(dir + folder.name);
    if (!reader.open()) continue;
    while (const dirent* entry = reader.next()) {
      names_.insert(entry->d_name, folder.flag);
      carried_ |= folder.flag;
    }
  }
}

}  // namespace archive::detail
