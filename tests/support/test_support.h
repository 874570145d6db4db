// Fixtures shared by the tests: temporary folders, recordings, device configurations, and
// the one runner of the real `archive` binary.
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
  std::string operator/(const std::string& relative) const { return path_ + "/" + relative; }

 private:
  std::string path_;
};

// Writes `content` to `path`, creating missing parent folders.
void writeFile(const std::string& path, const std::string& content);
void makeDirs(const std::string& path);
std::string readFile(const std::string& path);
void setMtime(const std::string& path, std::int64_t seconds);

struct Recorder {
  std::string id, label, archiveDirectory;  // the folder written as given
};
void writeDeviceConfig(const std::string& file, const std::vector<Recorder>& recorders);

// Writes <dir>/[.trash/]<name>: `size` bytes of an MP4 with no movie header yet (its
// duration is its modification time less its start), and an empty marker
// <dir>/.<marker>/<name> for each of `markers` ("afu", "locked", "downloaded", "recording").
void addRecording(const std::string& dir, const std::string& name, std::size_t size,
                  const std::vector<std::string>& markers = {}, bool inTrash = false);

struct RunResult {
  std::string out, err;
  int status = -1;  // the exit status; 128 + the signal number when killed
};
using Env = std::vector<std::pair<std::string, std::string>>;

// Runs the built `archive` binary with `args` and the environment plus `env`, with no
// standard input; killed after 20 seconds.
RunResult runArchive(const std::vector<std::string>& args, const Env& env = {});

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
