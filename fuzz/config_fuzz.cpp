// The configuration loader on any text: it gives a recorder list or one line that names
// the file, and nothing else escapes it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "cfg/configdb.h"
#include "sysinfo/mminfo.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string file = "/etc/device/config.json";
  try {
    const cfg::Configdb db = cfg::Configdb::parse(text, file);
    sysinfo::MMInfo info;
    info.load(db.root());
    for (const auto& recorder : info.recorders) {
      const std::string& dir = recorder->archiveDirectory;
      if (recorder->id.find('\0') != std::string::npos || (!dir.empty() && dir[0] != '/'))
        std::abort();
    }
  } catch (const std::runtime_error& e) {
    const std::string message = e.what();
    if (message.compare(0, file.size() + 2, file + ": ") != 0) std::abort();
    if (message.find('\n') != std::string::npos) std::abort();
  }
  return 0;
}
