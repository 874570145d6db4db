// Tests of the browse driver's start-time range on files dated before the epoch, which
// the command line cannot ask for; merging, paging and the range bounds are covered end
// to end in tests/list_test.cpp.
#include "list/browse.h"

#include <cstdlib>
#include <ctime>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "list/shell_formatter.h"
#include "test_support.h"

namespace {

TEST(BrowseFilesTest, StartTimeRangeComparesSignedTimes) {
  testing_support::TempDir tmp;
  // A name without a date is dated by its modification time: -50.
  testing_support::addRecording(tmp.path(), "camera.mp4", 1);
  testing_support::setMtime(tmp / "camera.mp4", -50);
  testing_support::addRecording(tmp.path(), "c_19700101T000140Z.mp4", 1);  // 100
  const struct {
    long lo, hi;
    const char* listed;
  } cases[] = {
      {0, 0, "camera.mp4\nc_19700101T000140Z.mp4\n"},  // no range at all
      {0, 100, "c_19700101T000140Z.mp4\n"},            // a lower bound of 0 still applies
      {-50, 99, "camera.mp4\n"},
      {-100, -51, ""},
  };
  const std::vector<std::shared_ptr<archive::Archive>> set{
      std::make_shared<archive::Archive>("", tmp.path(), "")};
  for (const auto& c : cases) {
    BrowseOptions options;
    options.sortOrder = archive::BrowseSortOrder::time;
    options.range = {c.lo, c.hi};
    ShellBrowseFilesFormatter formatter("F", false);
    std::ostringstream out;
    browseFiles(set, options, out, &formatter);
    EXPECT_EQ(c.listed, out.str()) << "range " << c.lo << "," << c.hi;
  }
}

// A year no recording reaches: the column stays empty rather than shifted.
TEST(LocalTimeTextTest, FiveDigitYearsGiveNoText) {
  setenv("TZ", "UTC0", 1);  // no other test of this binary reads the local zone
  tzset();
  EXPECT_EQ("9999-12-31 23:59:59", localTimeText(253402300799LL, "%Y-%m-%d %H:%M:%S"));
  EXPECT_EQ("", localTimeText(253402300800LL, "%Y-%m-%d %H:%M:%S"));
}

}  // namespace
