// Tests of the statistics over real archive folders and of their two printed forms.
#include "stat/archive_stat.h"

#include <limits>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::addRecording;
using testing_support::TempDir;
using testing_support::writeFile;

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

TEST_F(StatArchivesTest, EachSetKindFillsOnlyItsOwnGroups) {
  const ArchiveSet one = {open()};
  // The queue holds a deleted file: it is counted as deleted, never as queued.
  EXPECT_EQ(fields(statArchives(one)), "3/7 1/4 0/0");
  EXPECT_EQ(fields(statArchives(queuesOf(one))), "1/4 1/4 1/16");
  EXPECT_EQ(fields(statArchives(trashesOf(one))), "0/0 0/0 2/24");
}

TEST_F(StatArchivesTest, EveryMemberIsCountedEvenTheSameArchiveTwice) {
  const auto a = open();
  const ArchiveSet twice = {a, a};
  EXPECT_EQ(fields(statArchives(twice)), "6/14 2/8 0/0");
  EXPECT_EQ(fields(statArchives(queuesOf(twice))), "2/8 2/8 2/32");
  EXPECT_EQ(fields(statArchives(trashesOf(twice))), "0/0 0/0 4/48");
}

TEST_F(StatArchivesTest, EmptySetsGiveZeros) {
  EXPECT_EQ(fields(statArchives(ArchiveSet{})), "0/0 0/0 0/0");
  EXPECT_EQ(fields(statArchives(std::vector<archive::AFUQueue const*>{})), "0/0 0/0 0/0");
  EXPECT_EQ(fields(statArchives(std::vector<archive::Trash const*>{})), "0/0 0/0 0/0");
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

TEST_F(StatArchivesTest, LibraryErrorsPassThrough) {
  // A file where the archive folder should be cannot be read as a folder.
  const std::string notAFolder = tmp / "file";
  writeFile(notAFolder, "x");
  const ArchiveSet broken = {open(), std::make_shared<archive::Archive>("", notAFolder, "")};
  EXPECT_THROW(statArchives(broken), std::runtime_error);
}

TEST(CountSizeJsonTest, HasCountThenSizeAsIntegers) {
  std::ostringstream out;
  printCountSizeJson(out, 3, 90);
  EXPECT_EQ(out.str(), "{\"count\":3,\"size\":90}\n");
  std::ostringstream object;
  object << makeCountSizeObject(0, -5);
  EXPECT_EQ(object.str(), "{\"count\":0,\"size\":-5}");
}

struct PrintCase {
  StatSource source;
  bool json;
  std::string expected;
};

TEST(PrintArchiveStatTest, PrintsOnlyThePairsOfItsSource) {
  ArchiveStat s;
  s.filesCount = 12;
  s.filesSize = 345;
  s.afuCount = 2;
  s.afuSize = 700;
  s.deletedCount = 3;
  s.deletedSize = 90;
  const PrintCase cases[] = {
      {StatSource::archives, false, "12\t345\n2\t700\n"},
      {StatSource::archives, true,
       "{\"afu\":{\"count\":2,\"size\":700},\"files\":{\"count\":12,\"size\":345}}\n"},
      {StatSource::afu, false, "2\t700\n"},
      {StatSource::afu, true, "{\"count\":2,\"size\":700}\n"},
      {StatSource::trash, false, "3\t90\n"},
      {StatSource::trash, true, "{\"count\":3,\"size\":90}\n"},
  };
  for (const PrintCase& c : cases) {
    std::ostringstream out;
    printArchiveStat(out, s, c.source, c.json);
    EXPECT_EQ(out.str(), c.expected) << static_cast<int>(c.source) << " json=" << c.json;
  }
}

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
}

}  // namespace
