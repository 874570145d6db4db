// A failing card: the example device served through a FUSE file system that fails chosen
// operations (tests/faultfs), listed and counted through both read paths. A file whose
// header cannot be read is listed with its size and the duration of a file ending where
// reading stopped; one gone before its open or whose stat fails is left out; a folder
// that cannot be read is one line on stderr and exit 1; the rest is unchanged. And many
// recordings listed through both read paths, also with few descriptors.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
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
  TempDir dir;
  // `log`: the faults that fired, one "PATH OP ACTION" line each time.
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
[[maybe_unused]] std::string expected(std::size_t command, const Fault& fault, std::string out) {
  if (kCommands[command][0] == "stat") return fault.counted.empty() ? out : fault.counted;
  const std::size_t at = fault.file ? out.find("\n" + fault.file->name + "\t") + 1 : 0;
  if (at == 0 || fault.shown.empty()) return out;
  const std::size_t end = out.find('\n', at) + 1;
  return out.replace(at, end - at,
                     fault.shown == "gone" ? "" : fault.file->name + "\t" + fault.shown + "\n");
}

// Lines [start, start + count) of `listing`.
[[maybe_unused]] std::string page(const std::string& listing, int start, int count) {
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
      {nullptr, "/archive/1 readdir EIO", "", "", {0, 1, 2, 3, 4}},
      {nullptr, "/archive/1/.trash readdir EIO", "", "", {2}},
      // A marker folder fails only what reads it: the flag column (JSON's default "A"),
      // the AFU queue and its count.
      {nullptr, "/archive/1/.afu readdir EIO", "", "", {1, 2, 3}},
      {nullptr, "/archive/2/.locked readdir EIO", "", "", {1}},
  };
  // What each command prints of the device read directly.
  std::vector<std::string> baseline;
  for (const auto& args : kCommands)
    baseline.push_back(runArchive(args, {{"DEVICE_CONFIG", device / "config.json"}}).out);
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
        else if (c == 4)
          runs.push_back({kCommands[c], page(expected(0, fault, baseline[0]), 10, 4), "", 0});
        else
          runs.push_back({kCommands[c], expected(c, fault, baseline[c]), "", 0});
      }
      SCOPED_TRACE(rule + " ARCHIVE_IO_URING=" + path);
      expectRuns(runs,
                 {{"DEVICE_CONFIG", mount.root + "/config.json"}, {"ARCHIVE_IO_URING", path}});
    }
    const std::string log = readFile(mount.log);
    EXPECT_NE(log, "") << "the fault never fired";
    if (slow) {
      EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 1) << log;
    }
  }
#endif
}

// The two ways a listing reads headers, batches through io_uring and one file after
// another (ARCHIVE_IO_URING=0), give the same bytes on a recorder with enough recordings
// for several batches, also with few descriptors to spare.
void expectSameBothWays(const std::string& config, const std::vector<std::string>& args,
                        const std::vector<std::string>& wrapper = {}) {
  const auto readAhead = runArchive(args, {{"DEVICE_CONFIG", config}}, wrapper);
  const auto oneByOne =
      runArchive(args, {{"DEVICE_CONFIG", config}, {"ARCHIVE_IO_URING", "0"}}, wrapper);
  SCOPED_TRACE(testing::PrintToString(args));
  EXPECT_EQ(readAhead.status, 0);
  EXPECT_EQ(readAhead.err, "");
  EXPECT_GT(readAhead.out.size(), 100u);
  EXPECT_EQ(readAhead.out, oneByOne.out);
}

const std::vector<std::vector<std::string>> kListings = {
    {"ls", "all"},
    {"ls", "--exts", "all", "-f", "FSDNT", "all"},
    {"ls", "--sort", "time", "--start", "7", "--limit", "150", "all"},
    {"ls", "--afu", "all"},
    {"ls", "--trash", "all"},
};

TEST(ReadPathsTest, ManyBatchesAndFewDescriptorsListTheSameBytes) {
  // A recorder of 400 recordings copied round robin from the example's media, each kind
  // of header among them; every ninth in the trash, every seventh queued.
  TempDir dir;
  const std::string config = dir / "config.json";
  std::vector<fs::path> media;
  for (const auto& entry : fs::recursive_directory_iterator(EXAMPLE_ARCHIVE))
    if (entry.is_regular_file() && entry.file_size() > 0) media.push_back(entry.path());
  ASSERT_GE(media.size(), 10u);
  for (int i = 0; i < 400; ++i) {
    const fs::path& from = media[std::size_t(i) % media.size()];
    char name[64];
    std::snprintf(name, sizeof name, "cam_20261121T%02d%02d00Z%s", i / 60, i % 60,
                  from.extension().c_str());
    writeFile(dir / ("archive/" + std::string(i % 9 == 0 ? ".trash/" : "") + name), readFile(from));
    if (i % 7 == 0) writeFile(dir / "archive/.afu/" + name, "");
  }
  writeDeviceConfig(config, {{"1", "Many", dir / "archive"}});

  for (const auto& args : kListings) expectSameBothWays(config, args);
  // Past the marker table's first growth: 58 markers, 51 of them of files not in the trash.
  const std::string counts = runArchive({"stat", "all"}, {{"DEVICE_CONFIG", config}}).out;
  EXPECT_EQ(counts.substr(counts.find('\n') + 1, 3), "51\t") << counts;
  // With few descriptors to spare, fewer files are in flight: none of them is read
  // differently for the lack of one. At the smallest limit that lists at all (5 for a
  // plain build: the standard three, the folder, one file; a sanitizer's runtime holds
  // a few more), the ring's own descriptor would take the file's.
  const auto fewer = [](int descriptors) {
    return std::vector<std::string>{"prlimit", "--nofile=" + std::to_string(descriptors)};
  };
  const Env oneByOne = {{"DEVICE_CONFIG", config}, {"ARCHIVE_IO_URING", "0"}};
  int smallest = 4;
  while (smallest < 32 && runArchive(kListings[0], oneByOne, fewer(smallest)).status != 0)
    ++smallest;
  ASSERT_LT(smallest, 32);
  for (int descriptors : {24, smallest})
    expectSameBothWays(config, kListings[0], fewer(descriptors));
}

}  // namespace
