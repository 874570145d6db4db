// A failing card: the example device served through a FUSE file system that fails chosen
// operations (tests/faultfs), listed and counted through both read paths. A file whose
// header cannot be read is listed with its size and the duration of a file ending where
// reading stopped; one gone before its open or whose stat fails is left out; a folder
// that cannot be read is one line on stderr and exit 1; the rest is unchanged.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
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
    makeDirs(root);
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

// What a fault does to one file of the listings: gone, or listed with this size and
// duration; std::nullopt: the file's line stays as it was.
struct FileEffect {
  bool gone = false;
  long long size = 0, duration = 0;
};

// `listing` (ls -f NSD: "NAME\tSIZE\tDURATION" lines) with the line of `name` changed by
// `effect`.
std::string apply(std::string listing, const std::string& name, const FileEffect& effect) {
  const std::size_t at = listing.find(name + "\t");
  if (at == std::string::npos || (at > 0 && listing[at - 1] != '\n')) return listing;
  const std::size_t end = listing.find('\n', at) + 1;
  const std::string line = effect.gone ? ""
                                       : name + "\t" + std::to_string(effect.size) + "\t" +
                                             std::to_string(effect.duration) + "\n";
  return listing.replace(at, end - at, line);
}

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

// Lines [start, start + count) of `listing`.
std::string page(const std::string& listing, int start, int count) {
  std::size_t from = 0, to = 0;
  for (int line = 0; line < start + count; ++line) {
    to = listing.find('\n', to) + 1;
    if (line + 1 == start) from = to;
  }
  return listing.substr(from, to - from);
}

// The example recordings the file faults are aimed at, each with its modification time
// set to its start plus 61 s: the duration of a recognised file whose header was not
// read. kQueued: 5,346 bytes, 20 s, in the AFU queue, its movie header (moov) inside
// the first 4 KiB read; kLong: 12,188 bytes, 60 s, its moov at byte 9,930.
struct Recording {
  std::string name, path;
  long long size, start;
  bool queued;
};
const Recording kQueued = {"front_20261118T070140Z_alarm-12",
                           "/archive/1/front_20261118T070140Z_alarm-12.mp4", 5346, 1794985300,
                           true};
const Recording kLong = {"front_20261118T070000Z", "/archive/1/front_20261118T070000Z.mp4", 12188,
                         1794985200, false};

// `counts` (stat: "FILES\tBYTES\nQUEUED\tBYTES\n") less `files` files and `bytes` bytes,
// in the queue's line too when `queued`.
std::string lessCounted(const std::string& counts, long long files, long long bytes, bool queued) {
  long long n[4] = {};
  std::sscanf(counts.c_str(), "%lld\t%lld\n%lld\t%lld", &n[0], &n[1], &n[2], &n[3]);
  for (int line = 0; line < (queued ? 2 : 1); ++line) {
    n[2 * line] -= files;
    n[2 * line + 1] -= bytes;
  }
  return std::to_string(n[0]) + "\t" + std::to_string(n[1]) + "\n" + std::to_string(n[2]) + "\t" +
         std::to_string(n[3]) + "\n";
}

struct Fault {
  const Recording* file;
  std::string rule;                  // after the file's path
  std::optional<FileEffect> listed;  // what ls shows of the file, if it changes
  bool counted;                      // the file is still counted by stat
  // The commands (index into kCommands) that fail with "<folder>: cannot read: ...":
  // those that need the folder (the count of the AFU queue reads no trash).
  std::vector<int> failing;
};

TEST(FaultsTest, FailingFilesAndFoldersThroughBothReadPaths) {
#ifndef FAULTFS
  GTEST_SKIP() << "faultfs was not built (no libfuse3 for this target)";
#else
  if (access("/dev/fuse", R_OK | W_OK) != 0) GTEST_SKIP() << "/dev/fuse cannot be used here";
  TempDir device;
  fs::copy(fs::path(EXAMPLE_ARCHIVE).parent_path(), device.path(), fs::copy_options::recursive);
  for (const Recording* r : {&kQueued, &kLong}) setMtime(device.path() + r->path, r->start + 61);
  const std::vector<Fault> faults = {
      {&kQueued, "read EIO 0", FileEffect{false, 5346, 0}, true, {}},
      {&kLong, "read EIO 9930", FileEffect{false, 12188, 61}, true, {}},
      {&kQueued, "read short 1000", std::nullopt, true, {}},
      {&kQueued, "read sleep 1000", std::nullopt, true, {}},
      {&kQueued, "open EIO", FileEffect{false, 5346, 0}, true, {}},
      {&kQueued, "open ENOENT", FileEffect{true, 0, 0}, true, {}},
      {&kQueued, "getattr EIO", FileEffect{true, 0, 0}, false, {}},
      {&kLong, "getattr grow 1000", FileEffect{false, 11188, 61}, true, {}},
      {&kLong, "getattr shrink 1000", FileEffect{false, 13188, 60}, true, {}},
      {nullptr, "/archive/1 readdir EIO", std::nullopt, true, {0, 1, 2, 4, 5}},
      {nullptr, "/archive/1/.trash readdir EIO", std::nullopt, true, {2, 3}},
      // A marker folder fails only what reads it: the flag column (JSON's default "A"),
      // the AFU queue and its count.
      {nullptr, "/archive/1/.afu readdir EIO", std::nullopt, true, {1, 2, 4}},
      {nullptr, "/archive/2/.locked readdir EIO", std::nullopt, true, {1}},
  };
  std::vector<std::string> baseline;
  {
    const FaultMount clean(device.path(), "");
    ASSERT_TRUE(clean.mounted);
    for (const auto& args : kCommands)
      baseline.push_back(runArchive(args, {{"DEVICE_CONFIG", clean.root + "/config.json"}}).out);
  }
  for (const Fault& fault : faults) {
    const std::string rule = (fault.file ? fault.file->path + " " : "") + fault.rule;
    const FaultMount mount(device.path(), rule);
    ASSERT_TRUE(mount.mounted);
    // A slow read delays only its file: it is read once, not again on another path. One
    // listing shows that; the faultfs log counts the reads that waited.
    const bool slow = fault.rule.find("sleep") != std::string::npos;
    for (const char* path : {"everywhere", "0"}) {
      for (std::size_t c = 0; c < kCommands.size(); ++c) {
        if ((fault.file && kCommands[c][1] == "--json") || (slow && (c > 0 || path[0] == '0')))
          continue;
        SCOPED_TRACE(rule + "ARCHIVE_IO_URING=" + path + " " +
                     testing::PrintToString(kCommands[c]));
        const RunResult got = runArchive(
            kCommands[c],
            {{"DEVICE_CONFIG", mount.root + "/config.json"}, {"ARCHIVE_IO_URING", path}});
        std::string want = baseline[c];
        if (kCommands[c][0] == "stat") {
          if (!fault.counted)
            want = lessCounted(want, 1, fault.file->size, fault.file->queued);
          else if (fault.listed && !fault.listed->gone)
            want = lessCounted(want, 0, fault.file->size - fault.listed->size, fault.file->queued);
        } else if (fault.listed) {
          want = c == 5 ? page(apply(baseline[0], fault.file->name, *fault.listed), 10, 4)
                        : apply(want, fault.file->name, *fault.listed);
        }
        int status = 0;
        std::string err;
        for (int failing : fault.failing) {
          if (std::size_t(failing) != c) continue;
          want = kCommands[c][1] == "--json" ? "[" : "";  // the array is opened before gathering
          status = 1;
          err = mount.root + rule.substr(0, rule.find(' ')) + ": cannot read: Input/output error\n";
        }
        EXPECT_EQ(got.out, want);
        EXPECT_EQ(got.err, err);
        EXPECT_EQ(got.status, status);
      }
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
