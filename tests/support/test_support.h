// Fixtures shared by the tests: temporary folders, archive trees, device configurations
// and running the real `archive` binary.
#pragma once

#include <cstdint>
#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace testing_support {

// A fresh folder under $TMPDIR, removed with everything in it on destruction.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  // path() + "/" + relative
  std::string operator/(const std::string& relative) const { return path_ + "/" + relative; }

 private:
  std::string path_;
};

// Writes `content` to `path`, creating missing parent folders.
void writeFile(const std::string& path, const std::string& content);
// Creates `path` and its parents.
void makeDirs(const std::string& path);
// Sets the modification time of `path` (seconds since the epoch).
void setMtime(const std::string& path, std::int64_t seconds);
std::string readFile(const std::string& path);

// A recorder entry of a device configuration.
struct Recorder {
  std::string id;
  std::string label;
  std::string archiveDirectory;  // written as given: absolute, relative or empty
};
// Writes a device configuration naming `recorders` to `file`.
void writeDeviceConfig(const std::string& file, const std::vector<Recorder>& recorders);

// One recording in an archive folder `dir`: writes <dir>/[.trash/]<name> with `size`
// bytes (an MP4 without a movie header: its duration is its modification time less its
// start), and an empty marker file in <dir>/.<marker>/ for each of `markers`
// ("afu", "locked", "downloaded", "recording").
void addRecording(const std::string& dir, const std::string& name, std::size_t size,
                  const std::vector<std::string>& markers = {}, bool inTrash = false);

struct RunResult {
  std::string out;
  std::string err;
  int status = -1;   // exit status; 128 + signal number when killed
  bool timedOut = false;
};

using Env = std::vector<std::pair<std::string, std::string>>;

// Runs the built `archive` binary with `args`, the current environment plus `env`
// (a value overrides), and no standard input. Kills it after `timeoutSeconds`.
RunResult runArchive(const std::vector<std::string>& args, const Env& env = {},
                     int timeoutSeconds = 20);

// Runs any program (looked up in PATH) the same way, with `input` on its standard input.
RunResult runProgram(const std::vector<std::string>& argv, const std::string& input = "",
                     const Env& env = {}, int timeoutSeconds = 20);

// The what() of the std::exception that `action` throws, or "no error".
template <typename Action>
std::string whatOf(Action&& action) {
  try {
    action();
  } catch (const std::exception& e) {
    return e.what();
  }
  return "no error";
}

}  // namespace testing_support
