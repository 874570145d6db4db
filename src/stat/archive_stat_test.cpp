// Tests of the statistics over real archive folders and of their two printed forms.
#include "stat/archive_stat.h"

#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::addRecording;
using testing_support::TempDir;

using ArchiveSet = std::vector<std::shared_ptr<archive::Archive>>;

std::vector<archive::AFUQueue const*> queuesOf(const ArchiveSet& set) {
  std::vector<archive::AFUQueue const*> queues;
  for (const auto& a : set) queues.push_back(&a->afuQueue);
  return queues;
}

std::vector<archive::Trash const*> trashesOf(const ArchiveSet& set) {
  std::vector<archive::Trash const*> result;
  for (const auto& a : set) result.push_back(&a->trash);
  return result;
}

std::string fields(const ArchiveStat& s) {
  std::ostringstream out;
  out << s.filesCount << '/' << s.filesSize << ' ' << s.afuCount << '/' << s.afuSize << ' '
      << s.deletedCount << '/' << s.deletedSize;
  return out.str();
}

// One archive holding every combination of the two flags that matter:
//   plain 1, plain 2, queued 4, trash 8, trash and queued 16.
class StatArchivesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    addRecording(tmp.path(), "cam_20240301T140000Z.mp4", 1);
    addRecording(tmp.path(), "cam_20240301T140100Z.mp4", 2);
    addRecording(tmp.path(), "cam_20240301T140200Z.mp4", 4, {"afu"});
    addRecording(tmp.path(), "cam_20240301T140300Z.mp4", 8, {}, true);
    addRecording(tmp.path(), "cam_20240301T140400Z.mp4", 16, {"afu"}, true);
  }
  std::shared_ptr<archive::Archive> open() {
    return std::make_shared<archive::Archive>("cam", tmp.path(), "");
  }
  TempDir tmp;
};

// The totals the command drops are checked here: the end-to-end tests cannot see them.
TEST_F(StatArchivesTest, EverySetKindFillsAllSixTotals) {
  const auto a = open();
  const ArchiveSet none, one = {a}, twice = {a, a};
  const struct {
    const char* set;
    ArchiveStat stat;
    const char* expected;
  } cases[] = {
      {"archives", statArchives(one), "3/7 1/4 0/0"},
      // A queued file in the trash counts as deleted, never as queued.
      {"queues", statArchives(queuesOf(one)), "1/4 1/4 1/16"},
      {"trashes", statArchives(trashesOf(one)), "0/0 0/0 2/24"},
      {"archives twice", statArchives(twice), "6/14 2/8 0/0"},
      {"queues twice", statArchives(queuesOf(twice)), "2/8 2/8 2/32"},
      {"trashes twice", statArchives(trashesOf(twice)), "0/0 0/0 4/48"},
      {"no archives", statArchives(none), "0/0 0/0 0/0"},
      {"no queues", statArchives(queuesOf(none)), "0/0 0/0 0/0"},
      {"no trashes", statArchives(trashesOf(none)), "0/0 0/0 0/0"},
  };
  for (const auto& c : cases) EXPECT_EQ(fields(c.stat), c.expected) << c.set;
}

TEST_F(StatArchivesTest, QueuedFilesAreASubsetOfTheFiles) {
  const ArchiveSet sets[] = {{}, {open()}, {open(), open()}};
  for (const ArchiveSet& set : sets) {
    for (const ArchiveStat& s : {statArchives(set), statArchives(queuesOf(set))}) {
      EXPECT_LE(s.afuCount, s.filesCount) << fields(s);
      EXPECT_LE(s.afuSize, s.filesSize) << fields(s);
      EXPECT_GE(s.afuSize, 0) << fields(s);
      EXPECT_GE(s.deletedSize, 0) << fields(s);
    }
  }
}

// Sizes this large or negative come only from a broken library, never from a folder.
TEST(PrintArchiveStatTest, HugeCountsAreUnsignedInTextAndSameBitsInJson) {
  ArchiveStat s;
  s.deletedCount = std::numeric_limits<std::uint64_t>::max();
  s.deletedSize = -7;
  s.filesCount = (std::uint64_t{1} << 63) + 1;
  s.filesSize = std::numeric_limits<std::int64_t>::min();
  std::ostringstream text, json, files;
  printArchiveStat(text, s, StatSource::trash, false);
  printArchiveStat(json, s, StatSource::trash, true);
  printArchiveStat(files, s, StatSource::archives, false);
  EXPECT_EQ(text.str(), "18446744073709551615\t-7\n");
  EXPECT_EQ(json.str(), "{\"count\":-1,\"size\":-7}\n");
  EXPECT_EQ(files.str(), "9223372036854775809\t-9223372036854775808\n0\t0\n");
  std::ostringstream object;
  object << makeCountSizeObject(0, -5);
  EXPECT_EQ(object.str(), "{\"count\":0,\"size\":-5}");
}

}  // namespace
