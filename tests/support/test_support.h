// Fixtures shared by the tests: temporary folders, recordings, device configurations, the
// one runner of the real `archive` binary, its table of expected runs and its device.
#pragma once

#include <gtest/gtest.h>

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
std::string readFile(const std::string& path);
void setMtime(const std::string& path, std::int64_t seconds);

struct Recorder {
  std::string id, label, archiveDirectory;  // the folder written as given
};
void writeDeviceConfig(const std::string& file, const std::vector<Recorder>& recorders);

// Writes <dir>/[.trash/]<name>: `size` bytes of an MP4 with no movie header yet (its
// duration is its modification time less its start), modified at `mtime` when given, and
// an empty marker <dir>/.<marker>/<name> for each of `markers` ("afu", "locked",
// "downloaded", "recording").
void addRecording(const std::string& dir, const std::string& name, std::size_t size,
                  const std::vector<std::string>& markers = {}, bool inTrash = false,
                  std::int64_t mtime = -1);

struct RunResult {
  std::string out, err;
  int status = -1;  // the exit status; 128 + the signal number when killed
};
using Env = std::vector<std::pair<std::string, std::string>>;

// Runs the built `archive` binary with `args` and the environment plus `env`, with no
// standard input, through the command `wrapper` when one is given; killed after 20 seconds.
RunResult runArchive(const std::vector<std::string>& args, const Env& env = {},
                     const std::vector<std::string>& wrapper = {});

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

// One run of the binary: its arguments and everything it must print and return.
struct Expected {
  std::vector<std::string> args;
  std::string out, err;
  int status;
};

// Runs every case with `env` and compares stdout, stderr and status byte for byte.
inline void expectRuns(const std::vector<Expected>& cases, const Env& env = {}) {
  for (const Expected& c : cases) {
    const RunResult got = runArchive(c.args, env);
    const std::string name = ::testing::PrintToString(c.args);
    EXPECT_EQ(c.out, got.out) << name;
    EXPECT_EQ(c.err, got.err) << name;
    EXPECT_EQ(c.status, got.status) << name;
  }
}

// Four recorders; start times in UTC on 2024-03-01, sizes in bytes:
//   "1" Front  a1/         14:05:09 mp4  100  0 s     downloaded
//                          14:10:00 mp4  200  3600 s  locked, queued, event "alarm-17"
//                          14:20:00 ts   300  59 s    recording
//                          14:25:00 jpg   10          outside the default extensions
//                          14:30:00 MP4   20  3599 s
//                          14:35:00        5          no extension: outside any list
//              a1/.trash/  13:00:00 mp4   50          queued, recording (markers a trash keeps)
//                          13:10:00 avi   60          downloaded
//   "2" Cabin  a2/         14:00:00 mov   70          queued
//   "3" Rear   no archive folder
//   "4" Roof   a4/.trash/  12:00:00 mp4 1000          queued: a queue of deleted files only
class DeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    addRecording(a1, "front_20240301T140509Z.mp4", 100, {"downloaded"}, false, 1709301909);
    addRecording(a1, "front_20240301T141000Z_alarm-17.mp4", 200, {"locked", "afu"}, false,
                 1709302200 + 3600);
    addRecording(a1, "front_20240301T142000Z.ts", 300, {"recording"}, false, 1709302800 + 59);
    addRecording(a1, "front_20240301T142500Z.jpg", 10, {}, false, 1709303100);
    addRecording(a1, "front_20240301T143000Z.MP4", 20, {}, false, 1709303400 + 3599);
    addRecording(a1, "front_20240301T143500Z", 5, {}, false, 1709303700);
    addRecording(a1, "front_20240301T130000Z.mp4", 50, {"afu", "recording"}, true, 1709298000);
    addRecording(a1, "front_20240301T131000Z.avi", 60, {"downloaded"}, true, 1709298600);
    addRecording(tmp / "a2", "cabin_20240301T140000Z.mov", 70, {"afu"}, false, 1709301600);
    addRecording(tmp / "a4", "roof_20240301T120000Z.mp4", 1000, {"afu"}, true, 1709294400);
    writeDeviceConfig(config, {{"1", "Front", a1},
                               {"2", "Cabin", tmp / "a2"},
                               {"3", "Rear", ""},
                               {"4", "Roof", tmp / "a4"}});
  }

  Env env(const std::string& zone = "UTC") const {
    return {{"DEVICE_CONFIG", config}, {"TZ", zone}};
  }

  TempDir tmp;
  const std::string config = tmp / "config.json";
  const std::string a1 = tmp / "a1";
};

}  // namespace testing_support
