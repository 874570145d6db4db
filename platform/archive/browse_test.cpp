// Tests of browseFileEntries over real folders: every page of both orders against a full
// sort done here, and durations. Files that vanish while a page is read are shown through
// a failing file system, in tests/faults_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "archive/archive.h"
#include "test_support.h"

namespace archive {
namespace {

using testing_support::addRecording;
using testing_support::setMtime;
using testing_support::TempDir;
using testing_support::writeFile;
using Names = std::vector<std::string>;

Names browse(std::deque<detail::FileEntry>& entries, BrowseSortOrder order, unsigned long start,
             unsigned long limit) {
  Names names;
  detail::browseFileEntries(entries, order, start, limit, BrowseFilter(),
                            [&](FileInfo& f) { return names.push_back(f.fileName), true; });
  return names;
}

// Many entries with few distinct start times (ties go by name), in both orders, with
// every start and limit: each page must equal the slice of a full sort.
TEST(BrowsePartialSortTest, EveryPageEqualsTheSliceOfAFullSort) {
  TempDir dir;
  std::mt19937 random(7);
  std::map<std::pair<std::int64_t, std::string>, bool> files;  // in time order
  for (int i = 0; i < 600; ++i) {
    const int minute = int(random() % 50);
    char name[64];
    std::snprintf(name, sizeof name, "c%03d_20240301T14%02d00Z.ts", int(random() % 1000), minute);
    if (!files.emplace(std::make_pair(1709301600 + minute * 60, name), true).second) continue;
    addRecording(dir.path(), name, 0);
  }
  Names all;
  for (const auto& f : files) all.push_back(f.first.second);
  std::deque<detail::FileEntry> entries;
  const Archive archive("1", "VGA", "", dir.path(), "ts");  // owns what the entries point to
  archive.appendEntries(entries);
  const std::size_t n = all.size();
  for (bool reverse : {false, true}) {
    Names want = all;
    if (reverse) std::reverse(want.begin(), want.end());
    for (unsigned long start : {0ul, 1ul, 17ul, n / 2, n - 1, n}) {
      for (unsigned long limit : {1ul, 20ul, 299ul, n}) {
        const std::size_t to = std::min<std::size_t>(start + limit, n);
        EXPECT_EQ(
            browse(entries, reverse ? BrowseSortOrder::rtime : BrowseSortOrder::time, start, limit),
            Names(want.begin() + start, want.begin() + to))
            << "reverse " << reverse << " start " << start << " limit " << limit;
      }
    }
  }
}

// The header's duration; else, for a container recognised by its content whose header
// has none yet (a recording being written), the time written, from 0 to 31 days; else 0.
TEST(BrowseDurationTest, HeaderDurationElseTimeWrittenWithinAMonthElseZero) {
  const std::string moovLast =
      testing_support::readFile(std::string(ARCHIVE_TESTDATA) + "/moov_last_5s.mp4");
  const std::string ftypOnly(
      "\0\0\0\x10"
      "ftypisom\0\0\0\0",
      16);
  const std::string jpeg("\xff\xd8\xff\xe0\0\x10JFIF\0", 11);
  const std::int64_t start = 1709301600;  // 2024-03-01 14:00:00
  const struct {
    const char* name;
    std::string content;
    std::int64_t written;  // modification time - start
    std::int64_t seconds;
  } cases[] = {
      {"header_20240301T140000Z.mp4", moovLast, 3600, 5},
      {"month_20240301T140000Z.avi", ftypOnly, 2678400, 2678400},
      {"ahead_20240301T140000Z.ts", ftypOnly, 2678401, 0},
      {"early_20240301T140000Z.mp4", ftypOnly, -5, 0},
      {"snapshot_20240301T140000Z.jpg", jpeg, 360154, 0},
      {"CAM0001.MOV", ftypOnly, 0, 0},  // no start token: its start is its mtime
  };
  TempDir dir;
  for (const auto& c : cases) {
    writeFile(dir / c.name, c.content);
    setMtime(dir / c.name, c.written + start);
  }
  std::deque<detail::FileEntry> entries;
  const Archive archive("1", "VGA", "", dir.path(), "");
  archive.appendEntries(entries);
  std::map<std::string, std::int64_t> got;
  detail::browseFileEntries(entries, BrowseSortOrder::none, 0, 0, BrowseFilter(),
                            [&](FileInfo& f) { return got[f.fileName] = f.getDuration(), true; });
  for (const auto& c : cases) EXPECT_EQ(got[c.name], c.seconds) << c.name;
}

}  // namespace
}  // namespace archive
