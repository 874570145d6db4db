// Tests of browseFileEntries over real folders: orders and ties, paging after the
// filter, the partial sort against a full sort, vanished files, stopping, durations.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "archive/archive.h"
#include "archive/archive_test_util.h"
#include "test_support.h"

namespace archive {
namespace {

using testing_support::addRecording;
using testing_support::readFile;
using testing_support::setMtime;
using testing_support::TempDir;
using testing_support::writeFile;
using testutil::browse;
using testutil::names;
using Names = std::vector<std::string>;

class BrowseTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Three share a start time: ties go by file name.
    for (const char* n : {"b_20240301T140000Z.mp4", "a_20240301T140000Z.mp4",
                          "c_20240301T140000Z.mp4", "d_20240301T130000Z.mp4",
                          "e_20240301T150000Z.mp4", "f_20240301T120000Z.avi"})
      addRecording(dir_.path(), n, 1);
    archive_.appendEntries(entries_);
  }
  TempDir dir_;
  Archive archive_{"1", "VGA", "", dir_.path(), "avi,mov,mp4,ts"};
  std::deque<detail::FileEntry> entries_;
};

const Names kTimeOrder = {"f_20240301T120000Z.avi", "d_20240301T130000Z.mp4",
                          "a_20240301T140000Z.mp4", "b_20240301T140000Z.mp4",
                          "c_20240301T140000Z.mp4", "e_20240301T150000Z.mp4"};

TEST_F(BrowseTest, TimeOrderBreaksTiesByNameAndRtimeIsItsExactReverse) {
  EXPECT_EQ(names(browse(entries_, BrowseSortOrder::time)), kTimeOrder);
  Names reversed(kTimeOrder.rbegin(), kTimeOrder.rend());
  EXPECT_EQ(names(browse(entries_, BrowseSortOrder::rtime)), reversed);
}

TEST_F(BrowseTest, NoOrderKeepsTheGatheringOrder) {
  Names gathered;
  for (const auto& e : entries_) gathered.push_back(FileInfo(e).fileName);
  archive_.trash.appendEntries(entries_);  // nothing
  addRecording(dir_.path(), "z_20000101T000000Z.mp4", 1, {}, true);
  archive_.trash.appendEntries(entries_);
  gathered.push_back("z_20000101T000000Z.mp4");
  EXPECT_EQ(names(browse(entries_, BrowseSortOrder::none)), gathered);
}

TEST_F(BrowseTest, StartAndLimitCountFilesThatPassTheFilter) {
  // Only the files of 13:00 and later, i.e. kTimeOrder without its first.
  const BrowseFilter from13(BrowseFilter::kPredicate,
                            [](FileInfo& f) { return f.getStartTime() >= 1709298000; });
  struct Case {
    BrowseSortOrder order;
    unsigned long start, limit;
    Names want;
  };
  const Case cases[] = {
      {BrowseSortOrder::time, 0, 0, Names(kTimeOrder.begin() + 1, kTimeOrder.end())},
      {BrowseSortOrder::time, 0, 2, {kTimeOrder[1], kTimeOrder[2]}},
      {BrowseSortOrder::time, 1, 2, {kTimeOrder[2], kTimeOrder[3]}},
      {BrowseSortOrder::time, 3, 0, {kTimeOrder[4], kTimeOrder[5]}},
      {BrowseSortOrder::time, 4, 5, {kTimeOrder[5]}},
      {BrowseSortOrder::time, 5, 1, {}},
      {BrowseSortOrder::time, 99, 0, {}},
      {BrowseSortOrder::rtime, 0, 1, {kTimeOrder[5]}},
      {BrowseSortOrder::rtime, 2, 2, {kTimeOrder[3], kTimeOrder[2]}},
      {BrowseSortOrder::rtime, 4, 9, {kTimeOrder[1]}},
  };
  for (const Case& c : cases)
    EXPECT_EQ(names(browse(entries_, c.order, c.start, c.limit, from13)), c.want)
        << "order " << int(c.order) << " start " << c.start << " limit " << c.limit;
  // No order: the same count of files, the first one skipped.
  EXPECT_EQ(browse(entries_, BrowseSortOrder::none, 1, 3, from13).size(), 3u);
  EXPECT_EQ(browse(entries_, BrowseSortOrder::none, 1, 0, from13).size(), 4u);
}

TEST_F(BrowseTest, VanishedFilesAreLeftOutAndTheLimitStillFilled) {
  ASSERT_EQ(unlink((dir_ / kTimeOrder[0]).c_str()), 0);
  ASSERT_EQ(unlink((dir_ / kTimeOrder[2]).c_str()), 0);
  EXPECT_EQ(names(browse(entries_, BrowseSortOrder::time, 0, 3)),
            (Names{kTimeOrder[1], kTimeOrder[3], kTimeOrder[4]}));
  EXPECT_EQ(browse(entries_, BrowseSortOrder::none).size(), 4u);
  EXPECT_EQ(browse(entries_, BrowseSortOrder::rtime, 0, 0).size(), 4u);
}

TEST_F(BrowseTest, CallbackReturningFalseStops) {
  int calls = 0;
  detail::browseFileEntries(entries_, BrowseSortOrder::time, 0, 0, BrowseFilter(),
                            [&](FileInfo&) { return ++calls < 2; });
  EXPECT_EQ(calls, 2);
}

// Many entries with few distinct start times, browsed in every order, start and limit:
// the result must equal the slice of a full sort done here independently.
TEST(BrowsePartialSortTest, EveryPageEqualsTheSliceOfAFullSort) {
  TempDir dir;
  std::mt19937 random(7);
  std::vector<std::pair<std::int64_t, std::string>> expected;
  for (int i = 0; i < 600; ++i) {
    const int minute = int(random() % 50);
    char name[64];
    std::snprintf(name, sizeof name, "c%03d_20240301T14%02d00Z.ts", int(random() % 1000), minute);
    if (std::find_if(expected.begin(), expected.end(),
                     [&](const auto& e) { return e.second == name; }) != expected.end())
      continue;
    addRecording(dir.path(), name, 0);
    expected.emplace_back(1709301600 + minute * 60, name);
  }
  std::sort(expected.begin(), expected.end());
  Archive archive("1", "VGA", "", dir.path(), "ts");
  std::deque<detail::FileEntry> entries;
  archive.appendEntries(entries);
  ASSERT_EQ(entries.size(), expected.size());
  const std::size_t n = expected.size();
  for (bool reverse : {false, true}) {
    Names all;
    for (const auto& e : expected) all.push_back(e.second);
    if (reverse) std::reverse(all.begin(), all.end());
    for (unsigned long start : {0ul, 1ul, 17ul, n / 2, n - 1, n}) {
      for (unsigned long limit : {1ul, 20ul, 299ul, n}) {
        const std::size_t from = std::min<std::size_t>(start, n);
        const std::size_t to = std::min<std::size_t>(from + limit, n);
        EXPECT_EQ(names(browse(entries, reverse ? BrowseSortOrder::rtime : BrowseSortOrder::time,
                               start, limit)),
                  Names(all.begin() + from, all.begin() + to))
            << "reverse " << reverse << " start " << start << " limit " << limit;
      }
    }
  }

  // Files gone from both ends: the pages must reach past the part sorted at first.
  Names remaining;
  for (std::size_t i = 0; i < n; ++i) {
    if ((i < 60 || i >= n - 60) && i % 3 != 2) {
      ASSERT_EQ(unlink((dir / expected[i].second).c_str()), 0);
    } else {
      remaining.push_back(expected[i].second);
    }
  }
  EXPECT_EQ(names(browse(entries, BrowseSortOrder::time, 0, 20)),
            Names(remaining.begin(), remaining.begin() + 20));
  EXPECT_EQ(names(browse(entries, BrowseSortOrder::rtime, 0, 20)),
            Names(remaining.rbegin(), remaining.rbegin() + 20));
}

// The header's duration; else, for a container recognised by its content whose header
// has none yet (a recording being written), the time written, from 0 to 31 days; else 0.
TEST(BrowseDurationTest, HeaderDurationElseTimeWrittenWithinAMonthElseZero) {
  const std::string moovLast = readFile(std::string(ARCHIVE_TESTDATA) + "/moov_last_5s.mp4");
  const std::string ftypOnly("\0\0\0\x10" "ftypisom\0\0\0\0", 16);
  // A movie header claiming 999,999,999 s at a time scale of 1.
  std::string handmade = ftypOnly + std::string("\0\0\0\x74moov\0\0\0\x6cmvhd", 16) +
                         std::string(100, '\0');
  handmade[16 + 16 + 15] = 1;
  handmade.replace(16 + 16 + 16, 4, "\x3b\x9a\xc9\xff", 4);
  const std::string jpeg("\xff\xd8\xff\xe0\0\x10JFIF\0", 11);
  const std::int64_t start = 1709301600;  // 2024-03-01 14:00:00
  const struct {
    const char* name;
    std::string content;
    std::int64_t written;  // modification time - start
    std::int64_t seconds;
  } cases[] = {
      {"header_20240301T140000Z.mp4", moovLast, 3600, 5},
      {"writing_20240301T140000Z.mp4", ftypOnly, 42, 42},
      {"month_20240301T140000Z.avi", ftypOnly, 2678400, 2678400},
      {"ahead_20240301T140000Z.ts", ftypOnly, 2678401, 0},
      {"future_20240301T140000Z.mp4", ftypOnly, 13323083626, 0},
      {"early_20240301T140000Z.mp4", ftypOnly, -5, 0},
      {"damaged_20240301T140000Z.mp4", handmade, 42, 0},
      {"snapshot_20240301T140000Z.jpg", jpeg, 360154, 0},
      {"CAM0001.MOV", ftypOnly, 0, 0},  // no start token: its start is its mtime
  };
  TempDir dir;
  for (const auto& c : cases) {
    writeFile(dir / c.name, c.content);
    setMtime(dir / c.name, c.written + start);
  }
  Archive archive("1", "VGA", "", dir.path(), "");
  std::deque<detail::FileEntry> entries;
  archive.appendEntries(entries);
  std::map<std::string, std::int64_t> got;
  detail::browseFileEntries(entries, BrowseSortOrder::none, 0, 0, BrowseFilter(), [&](FileInfo& f) {
    got[f.fileName] = f.getDuration();
    return true;
  });
  for (const auto& c : cases) EXPECT_EQ(got[c.name], c.seconds) << c.name;
}

}  // namespace
}  // namespace archive
