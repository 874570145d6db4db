// Marker folders read once each, into one name set whose names carry flag bits.
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

void Markers::check() const {
  for (const MarkerFolder& folder : kMarkerFolders) openFolder(dir_ + folder.name);
}

void Markers::load(std::uint8_t flags) {
  for (const MarkerFolder& folder : kMarkerFolders) {
    if (!(flags & folder.flag) || (loaded_ & folder.flag)) continue;
    DirReader reader(dir_ + folder.name);
    if (reader.open()) {
      while (const dirent* entry = reader.next()) {
        names_.insert(entry->d_name, folder.flag);
        carried_ |= folder.flag;
      }
    }
    loaded_ |= folder.flag;
  }
}

std::uint8_t Markers::flagsOf(std::string_view name, std::uint8_t wanted) {
  if ((wanted & loaded_) != wanted) load(wanted);
  // Asking only when some name carries a wanted flag spares the hash for most files.
  if (!(wanted & carried_)) return 0;
  return names_.bitsOf(name) & wanted;
}

bool Markers::anyCarries(std::uint8_t flag) {
  load(flag);
  return (carried_ & flag) != 0;
}

}  // namespace archive::detail
