// A failing card: the example device served through a FUSE file system that fails chosen
// operations (tests/faultfs), listed and counted through both read paths. A file whose
// header cannot be read is listed with its size and the duration of a file ending where
// reading stopped; one gone before its open or whose stat fails is left out; a folder
// that cannot be read is one line on stderr and exit 1; the rest is unchanged.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"

namespace {

namespace fs = std::filesystem;
using namespace testing_support;

#ifdef FAULTFS
// faultfs serving `source` at a fresh mount point with `fault` ("PATH OP ACTION [ARG]"),
// unmounted on destruction (fusermount3, as any user may). faultfs returns once mounted, leaving
// its server behind, which exits when unmounted.
struct FaultMount {
  FaultMount(const std::string& source, const std::string& fault) {
    fs::create_directories(root);
    mounted = std::system((std::string(FAULTFS) + " " + source + " " + root + " " + log + " " +
                           fault + " >&2")
                              .c_str()) == 0;
  }
  ~FaultMount() { std::system(("fusermount3 -u -z " + root).c_str()); }
  // The faults that fired, one "PATH OP ACTION" line each time.
  std::string fired() const { return readFile(log); }

  TempDir dir;
  const std::string root = dir / "mnt", log = dir / "log";
  bool mounted;
};

#endif

// The listings and counts each fault is checked with. JSON prints what the text does, so
// only the faults of folders, which fail it differently, are checked with it.
const std::vector<std::vector<std::string>> kCommands = {
    {"ls", "-f", "NSD", "all"},
    {"ls", "--json", "all"},
    {"ls", "--afu", "-f", "NSD", "all"},
    {"ls", "--trash", "-f", "NSD", "all"},
    {"stat", "all"},
    // A page: a file left out makes room for the next.
    {"ls", "-s", "10", "-l", "4", "-f", "NSD", "all"},
};

// The example recordings the file faults are aimed at, each with its modification time
// set to its start plus 61 s: the duration of a recognised file whose header was not
// read. kQueued: 5,346 bytes, 20 s, in the AFU queue, its movie header (moov) inside
// the first 4 KiB read; kLong: 12,188 bytes, 60 s, its moov at byte 9,930.
struct Recording {
  std::string name;
  long long start;
};
const Recording kQueued = {"front_20261118T070140Z_alarm-12", 1794985300};
const Recording kLong = {"front_20261118T070000Z", 1794985200};

struct Fault {
  const Recording* file;
  std::string rule;  // after the file's path
  // The file's "SIZE\tDURATION" in listings: "" when unchanged, "gone" when left out.
  std::string shown;
  // What `stat all` prints: "" when unchanged (17 files of 200,752 bytes, 5 of them queued
  // of 54,578): a file is counted with the size its stat gives, unless that fails.
  std::string counted;
  // The commands (index into kCommands) that fail with "<folder>: cannot read: ...":
  // those that need the folder (the count of the AFU queue reads no trash).
  std::vector<int> failing;
};

// What `command` prints under `fault`, from what it prints without one.
std::string expected(std::size_t command, const Fault& fault, std::string out) {
  if (kCommands[command][0] == "stat") return fault.counted.empty() ? out : fault.counted;
  const std::size_t at = fault.file ? out.find("\n" + fault.file->name + "\t") + 1 : 0;
  if (at == 0 || fault.shown.empty()) return out;
  const std::size_t end = out.find('\n', at) + 1;
  return out.replace(at, end - at,
                     fault.shown == "gone" ? "" : fault.file->name + "\t" + fault.shown + "\n");
}

// Lines [start, start + count) of `listing`.
std::string page(const std::string& listing, int start, int count) {
  std::istringstream lines(listing);
  std::string line, result;
  for (int i = 0; i < start + count && std::getline(lines, line); ++i)
    if (i >= start) result += line + "\n";
  return result;
}

TEST(FaultsTest, FailingFilesAndFoldersThroughBothReadPaths) {
#ifndef FAULTFS
  GTEST_SKIP() << "faultfs was not built (no libfuse3 for this target)";
#else
  if (access("/dev/fuse", R_OK | W_OK) != 0) GTEST_SKIP() << "/dev/fuse cannot be used here";
  TempDir device;
  fs::copy(fs::path(EXAMPLE_ARCHIVE).parent_path(), device.path(), fs::copy_options::recursive);
  for (const Recording* r : {&kQueued, &kLong})
    setMtime(device / ("archive/1/" + r->name + ".mp4"), r->start + 61);
  const std::vector<Fault> faults = {
      {&kQueued, "read EIO 0", "5346\t0", "", {}},
      {&kLong, "read EIO 9930", "12188\t61", "", {}},
      {&kQueued, "read short 1000", "", "", {}},
      {&kQueued, "read sleep 1000", "", "", {}},
      {&kQueued, "open EIO", "5346\t0", "", {}},
      {&kQueued, "open ENOENT", "gone", "", {}},
      {&kQueued, "getattr EIO", "gone", "16\t195406\n4\t49232\n", {}},
      {&kLong, "getattr grow 1000", "11188\t61", "17\t199752\n5\t54578\n", {}},
      {&kLong, "getattr shrink 1000", "13188\t60", "17\t201752\n5\t54578\n", {}},
      {nullptr, "/archive/1 readdir EIO", "", "", {0, 1, 2, 4, 5}},
      {nullptr, "/archive/1/.trash readdir EIO", "", "", {2, 3}},
      // A marker folder fails only what reads it: the flag column (JSON's default "A"),
      // the AFU queue and its count.
      {nullptr, "/archive/1/.afu readdir EIO", "", "", {1, 2, 4}},
      {nullptr, "/archive/2/.locked readdir EIO", "", "", {1}},
  };
  std::vector<std::string> baseline;
  {
    const FaultMount clean(device.path(), "");
    ASSERT_TRUE(clean.mounted);
    for (const auto& args : kCommands)
      baseline.push_back(runArchive(args, {{"DEVICE_CONFIG", clean.root + "/config.json"}}).out);
  }
  for (const Fault& fault : faults) {
    const std::string rule =
        (fault.file ? "/archive/1/" + fault.file->name + ".mp4 " : "") + fault.rule;
    const FaultMount mount(device.path(), rule);
    ASSERT_TRUE(mount.mounted);
    // A slow read delays only its file: it is read once, not again on another path. One
    // listing shows that; the faultfs log counts the reads that waited.
    const bool slow = fault.rule.find("sleep") != std::string::npos;
    const std::string folderError =
        mount.root + rule.substr(0, rule.find(' ')) + ": cannot read: Input/output error\n";
    for (const char* path : {"everywhere", "0"}) {
      std::vector<Expected> runs;
      for (std::size_t c = 0; c < kCommands.size(); ++c) {
        const bool json = kCommands[c][1] == "--json";
        if ((fault.file && json) || (slow && (c > 0 || path[0] == '0'))) continue;
        if (std::count(fault.failing.begin(), fault.failing.end(), int(c)))
          runs.push_back({kCommands[c], json ? "[" : "", folderError, 1});  // "[" before gathering
        else if (c == 5)
          runs.push_back({kCommands[c], page(expected(0, fault, baseline[0]), 10, 4), "", 0});
        else
          runs.push_back({kCommands[c], expected(c, fault, baseline[c]), "", 0});
      }
      SCOPED_TRACE(rule + " ARCHIVE_IO_URING=" + path);
      expectRuns(runs, {{"DEVICE_CONFIG", mount.root + "/config.json"}, {"ARCHIVE_IO_URING", path}});
    }
    const std::string log = mount.fired();
    EXPECT_NE(log, "") << "the fault never fired";
    if (slow) {
      EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
    }
  }
#endif
}

}  // namespace
