// Tests of the browse driver over real archive folders: the formatter's call sequence and
// the start-time range (merging and paging are covered end to end in tests/list_test.cpp).
#include "list/browse.h"

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::TempDir;
using testing_support::addRecording;

// Records the calls it receives, one word per call.
class CallLog : public IBrowseFilesFormatter {
 public:
  std::ostream& begin(std::ostream& out) override {
    log += "begin;";
    return out;
  }
  std::ostream& format(std::ostream& out, archive::FileInfo& file) override {
    log += file.fileName + ";";
    return out;
  }
  std::ostream& end(std::ostream& out) override {
    log += "end";
    return out;
  }
  std::string log;
};

using Archives = std::vector<std::shared_ptr<archive::Archive>>;

std::shared_ptr<archive::Archive> channel(const std::string& dir) {
  return std::make_shared<archive::Archive>("", dir, "");
}

template <typename Set>
std::string browseLog(const Set& set, const BrowseOptions& options) {
  CallLog log;
  std::ostringstream out;
  browseFiles(set, options, out, &log);
  return log.log;
}

BrowseOptions ascending() {
  BrowseOptions options;
  options.sortOrder = archive::BrowseSortOrder::time;
  return options;
}

TEST(BrowseFilesTest, EmptySetStillBeginsAndEnds) {
  EXPECT_EQ("begin;end", browseLog(Archives{}, BrowseOptions()));
}

TEST(BrowseFilesTest, StartTimeRangeBoundsAreInclusiveAndSigned) {
  TempDir tmp;
  // Start times -50 (a camera's own name, dated by its modification time), 99, 100, 101.
  addRecording(tmp.path(), "camera.mp4", 1);
  testing_support::setMtime(tmp / "camera.mp4", -50);
  addRecording(tmp.path(), "c_19700101T000139Z.mp4", 1);
  addRecording(tmp.path(), "c_19700101T000140Z.mp4", 1);
  addRecording(tmp.path(), "c_19700101T000141Z.mp4", 1);
  const std::string neg = "camera.mp4;", t99 = "c_19700101T000139Z.mp4;",
                    t100 = "c_19700101T000140Z.mp4;", t101 = "c_19700101T000141Z.mp4;";
  const struct {
    long lo, hi;
    std::string listed;
  } cases[] = {
      {0, 0, neg + t99 + t100 + t101},      // no filter at all
      {100, 0, t100 + t101},                // no upper bound
      {0, 100, t99 + t100},                 // a lower bound of 0 drops pre-epoch files
      {99, 100, t99 + t100},
      {101, 101, t101},
      {102, 0, ""},
      {-100, 0, neg + t99 + t100 + t101},
      {-50, 99, neg + t99},
      {-100, -51, ""},
      {200, 100, ""},  // an inverted range matches nothing
  };
  for (const auto& c : cases) {
    BrowseOptions options = ascending();
    options.range = {c.lo, c.hi};
    EXPECT_EQ("begin;" + c.listed + "end", browseLog(Archives{channel(tmp.path())}, options))
        << "range " << c.lo << "," << c.hi;
  }
}

TEST(StartTimeFilterTest, NoBoundsMeansNoPredicate) {
  EXPECT_EQ(archive::BrowseFilter::kNone, makeStartTimeFilter({0, 0}).kind);
  EXPECT_EQ(archive::BrowseFilter::kPredicate, makeStartTimeFilter({0, 1}).kind);
  EXPECT_EQ(archive::BrowseFilter::kPredicate, makeStartTimeFilter({-1, 0}).kind);
}

}  // namespace
