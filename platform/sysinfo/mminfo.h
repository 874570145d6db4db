// Media information of the device: its recorders, read from the device configuration.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cfg/configdb.h"

namespace sysinfo {

struct RecorderInfo {
  std::string id;                // what the user types to name the recorder
  std::string label;             // a human label, handed to the archive unchanged
  std::string archiveDirectory;  // absolute; empty when the recorder keeps no archive
};

class MMInfo {
 public:
  // Reads "media.recorders" of `root`. A tree without it has no recorders. Throws
  // std::runtime_error naming the file and the member at fault.
  void load(cfg::Node const& root);

  std::vector<std::shared_ptr<RecorderInfo>> recorders;  // in configuration order
};

}  // namespace sysinfo
