// Tests of gathering and browsing real folders: what counts as a recording, names kept
// exactly, every page of both orders against a full sort done here. Durations, files that
// vanish while a page is read, missing and unreadable folders are shown end to end
// (tests/).
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "archive/archive.h"
#include "test_support.h"

namespace archive {
namespace {

using testing_support::addRecording;
using testing_support::TempDir;
using testing_support::writeFile;
using Names = std::vector<std::string>;

Names browse(std::deque<detail::FileEntry>& entries, BrowseSortOrder order, std::uint64_t start,
             std::uint64_t limit) {
  Names names;
  detail::browseFileEntries(entries, order, start, limit, BrowseFilter(),
                            [&](FileInfo& f) { return names.push_back(f.fileName), true; });
  return names;
}

// The file names gathered from `dir`, every extension taken, in name order.
Names gathered(const std::string& dir) {
  std::deque<detail::FileEntry> entries;
  const Archive archive("1", "VGA", "", dir, "");  // owns what the entries point to
  archive.appendEntries(entries);
  Names names = browse(entries, BrowseSortOrder::none, 0, 0);
  std::sort(names.begin(), names.end());
  return names;
}

// Recordings are the visible regular files and the links to them. Names are kept as the
// text around their start token; each must come back exactly, also when a folder holds
// more shapes than it keeps.
TEST(ArchiveLayoutTest, VisibleFilesAndLinksToThemComeBackWithTheirNamesExact) {
  TempDir dir;
  Names written = {"x_20240301T140000Z",     "a.b_20240301T140000Z.c.mp4",
                   "20240301T140000Z.ts",    "p_20240301T140000Z_20240301T150000Z_e.mp4",
                   "q20240301T140000Zr.MP4", "y_00000101T000000Z.mp4",
                   "y_99991231T235959Z.mp4", "z_20240301T140000Z."};
  for (int i = 0; i < 300; ++i)
    written.push_back("c" + std::to_string(i) + "_20240301T140000Z.mp4");
  for (const std::string& name : written) addRecording(dir.path(), name, 0);
  addRecording(dir.path(), ".b_20240301T140100Z.mp4", 1);
  writeFile(dir / "c_20240301T140200Z.mp4/d_20240301T140300Z.mp4", "x");
  ASSERT_EQ(symlink((dir / "x_20240301T140000Z").c_str(), (dir / "e_20240301T140400Z.mp4").c_str()),
            0);
  ASSERT_EQ(symlink((dir / "nowhere").c_str(), (dir / "f_20240301T140500Z.mp4").c_str()), 0);
  ASSERT_EQ(
      symlink((dir / "c_20240301T140200Z.mp4").c_str(), (dir / "g_20240301T140600Z.mp4").c_str()),
      0);
  written.push_back("e_20240301T140400Z.mp4");
  std::sort(written.begin(), written.end());
  EXPECT_EQ(gathered(dir.path()), written);
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
    for (std::size_t start : {std::size_t(0), std::size_t(1), std::size_t(17), n / 2, n - 1, n}) {
      for (std::size_t limit : {std::size_t(1), std::size_t(20), std::size_t(299), n}) {
        const std::size_t to = std::min<std::size_t>(start + limit, n);
        EXPECT_EQ(
            browse(entries, reverse ? BrowseSortOrder::rtime : BrowseSortOrder::time, start, limit),
            Names(want.begin() + start, want.begin() + to))
            << "reverse " << reverse << " start " << start << " limit " << limit;
      }
    }
  }
}

}  // namespace
}  // namespace archive
