// The list and stat commands on any command line: the input's lines are the arguments
// after the command word. Whatever they say, the handler returns 0, 1 or 2 or throws a
// standard exception (which main reports), on a small device of its own.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <sstream>
#include <string>
#include <vector>

#include "list/list_command.h"
#include "stat/stat_command.h"

namespace {

// A device of two recorders (and one without an archive) in a fresh folder.
std::string root;

void removeDevice() { std::system(("rm -rf " + root).c_str()); }

void makeDevice() {
  char base[] = "/tmp/archive-fuzz-XXXXXX";
  if (!mkdtemp(base)) std::abort();
  root = base;
  std::atexit(removeDevice);
  const std::string script =
      "mkdir -p " + root + "/w/1/.afu " + root + "/w/1/.trash " + root + "/w/2 && cd " + root +
      "/w && touch 1/front_20261120T171500Z.mp4 " +
      "1/.afu/front_20261120T171500Z.mp4 1/.trash/front_20261119T101010Z.ts " +
      "2/cabin.avi && printf '{\"media\":{\"recorders\":[{\"id\":\"1\"," +
      "\"archiveDirectory\":\"1\"},{\"id\":\"2\",\"archiveDirectory\":\"2\"}," +
      "{\"id\":\"3\"}]}}' > device.json";
  if (std::system(script.c_str()) != 0) std::abort();
  setenv("DEVICE_CONFIG", (root + "/w/device.json").c_str(), 1);
  setenv("TZ", "UTC", 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool ready = (makeDevice(), true);
  (void)ready;
  const std::string text(reinterpret_cast<const char*>(data), size);
  // A path with "/" could point the tool at /proc, where a read may block; without one
  // it names a folder beside the working folder at most.
  if (text.find('/') != std::string::npos || size == 0) return 0;
  std::vector<std::string> words{text[0] & 1 ? "stat" : "ls"};
  std::istringstream lines(text.substr(1));
  for (std::string line; std::getline(lines, line);) words.push_back(line);
  if (words.size() > 200) return 0;
  std::vector<const char*> argv;
  for (const std::string& w : words) argv.push_back(w.c_str());

  std::ostringstream sink;
  int status = 0;
  try {
    status = text[0] & 1 ? statCommand(int(argv.size()), argv.data(), sink, sink)
                         : listCommand(int(argv.size()), argv.data(), sink, sink);
  } catch (const std::exception&) {
    status = 1;
  }
  if (status < 0 || status > 2) std::abort();
  return 0;
}
