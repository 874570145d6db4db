// The device of the end-to-end tests of list and stat, and the table runner that compares
// what the real binary prints and returns.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace testing_support {

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
//              a1/.trash/  13:00:00 mp4   50          queued
//                          13:10:00 avi   60
//   "2" Cabin  a2/         14:00:00 mov   70          queued
//   "3" Rear   no archive folder
//   "4" Roof   a4/.trash/  12:00:00 mp4 1000          queued: a queue of deleted files only
class DeviceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    add(a1, "front_20240301T140509Z.mp4", 100, 1709301909, 0, {"downloaded"});
    add(a1, "front_20240301T141000Z_alarm-17.mp4", 200, 1709302200, 3600, {"locked", "afu"});
    add(a1, "front_20240301T142000Z.ts", 300, 1709302800, 59, {"recording"});
    add(a1, "front_20240301T142500Z.jpg", 10, 1709303100, 0, {});
    add(a1, "front_20240301T143000Z.MP4", 20, 1709303400, 3599, {});
    add(a1, "front_20240301T130000Z.mp4", 50, 1709298000, 0, {"afu"}, true);
    add(a1, "front_20240301T131000Z.avi", 60, 1709298600, 0, {}, true);
    add(tmp / "a2", "cabin_20240301T140000Z.mov", 70, 1709301600, 0, {"afu"});
    add(tmp / "a4", "roof_20240301T120000Z.mp4", 1000, 1709294400, 0, {"afu"}, true);
    writeDeviceConfig(config, {{"1", "Front", a1}, {"2", "Cabin", tmp / "a2"}, {"3", "Rear", ""},
                               {"4", "Roof", tmp / "a4"}});
  }

  // A recording that started at `start` and was written for `duration` seconds.
  static void add(const std::string& dir, const std::string& name, std::size_t size,
                  std::int64_t start, std::int64_t duration,
                  const std::vector<std::string>& markers, bool inTrash = false) {
    addRecording(dir, name, size, markers, inTrash);
    setMtime(dir + (inTrash ? "/.trash/" : "/") + name, start + duration);
  }

  Env env(const std::string& zone = "UTC") const {
    return {{"DEVICE_CONFIG", config}, {"TZ", zone}};
  }

  TempDir tmp;
  const std::string config = tmp / "config.json";
  const std::string a1 = tmp / "a1";
};

}  // namespace testing_support
