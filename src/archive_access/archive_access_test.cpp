// Tests of choosing the archive set: recorder identifiers, "*" and "all", one channel by
// --path and --name, and the AFU-queue and trash views; observed on real folders.
#include "archive_access/archive_access.h"

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::addRecording;
using testing_support::TempDir;
using testing_support::writeDeviceConfig;
using testing_support::writeFile;

// Describes each file a source holds, in gathering order, as
// "<recorderName>|<recorderLabel>|<fileName>".
template <typename Source>
std::vector<std::string> describe(const std::vector<Source>& sources) {
  std::deque<archive::detail::FileEntry> entries;
  for (const auto& source : sources) source->appendEntries(entries);
  std::vector<std::string> files;
  archive::detail::browseFileEntries(entries, archive::BrowseSortOrder::none, 0, 0, {},
                                     [&](archive::FileInfo& file) {
                                       files.push_back(file.owner->recorderName + "|" +
                                                       file.owner->recorderLabel + "|" +
                                                       file.fileName);
                                       return true;
                                     });
  return files;
}

// Three configured recorders, each folder holding one recording named after it; r3
// keeps no archive.
class RecorderArchivesTest : public ::testing::Test {
 protected:
  RecorderArchivesTest() {
    addRecording(dir_ / "a1", "r1_20240301T140509Z.mp4", 10);
    addRecording(dir_ / "a2", "r2_20240301T140509Z.avi", 20);
    recorders_ = {record("r1", "Front", dir_ / "a1"), record("r2", "Cabin", dir_ / "a2"),
                  record("r3", "Spare", "")};
  }

  static std::shared_ptr<sysinfo::RecorderInfo> record(std::string id, std::string label,
                                                       std::string folder) {
    return std::make_shared<sysinfo::RecorderInfo>(
        sysinfo::RecorderInfo{std::move(id), std::move(label), std::move(folder)});
  }

  TempDir dir_;
  Recorders recorders_;
};

const std::string kR1 = "r1|Front|r1_20240301T140509Z.mp4";
const std::string kR2 = "r2|Cabin|r2_20240301T140509Z.avi";

TEST_F(RecorderArchivesTest, SelectionFollowsTheIdentifiers) {
  struct Case {
    std::vector<std::string> identifiers;
    std::vector<std::string> files;
  };
  const std::vector<Case> cases = {
      {{"r2", "r1"}, {kR2, kR1}},
      {{"r1", "r1"}, {kR1, kR1}},
      {{"*"}, {kR1, kR2}},
      {{"all"}, {kR1, kR2}},
      {{"r3"}, {}},
      {{"r3", "r2"}, {kR2}},
      {{}, {}},
  };
  for (const Case& c : cases) {
    const std::string name = ::testing::PrintToString(c.identifiers);
    ArchiveSet set;
    ASSERT_NO_THROW(set = makeRecorderArchives(c.identifiers, recorders_)) << name;
    EXPECT_EQ(describe(set), c.files) << name;
  }
}

TEST_F(RecorderArchivesTest, UnknownIdentifiersThrowRecorderNotFound) {
  struct Case {
    std::vector<std::string> identifiers;
    std::string missing;
  };
  const std::vector<Case> cases = {
      {{"R1"}, "R1"},           {{"r1", "x"}, "x"},    {{"x", "r1"}, "x"},
      {{"ALL"}, "ALL"},         {{"All"}, "All"},      {{"all", "r1"}, "all"},
      {{"r1", "*"}, "*"},       {{" r1"}, " r1"},      {{"r"}, "r"},
      {{"r10"}, "r10"},         {{""}, ""},            {{"r1", "r2", "r4"}, "r4"},
  };
  for (const Case& c : cases) {
    const std::string name = ::testing::PrintToString(c.identifiers);
    try {
      makeRecorderArchives(c.identifiers, recorders_);
      ADD_FAILURE() << name << ": no exception";
    } catch (const RecorderNotFound& e) {
      EXPECT_STREQ(e.what(), "Recorder not found") << name;
      EXPECT_EQ(e.recorder, c.missing) << name;
    }
  }
}

TEST_F(RecorderArchivesTest, FindRecorderTakesTheFirstExactMatch) {
  recorders_.push_back(record("r1", "Second", dir_ / "other"));
  EXPECT_EQ(findRecorder(recorders_, "r1"), recorders_[0]);
  EXPECT_EQ(findRecorder(recorders_, "r3"), recorders_[2]);
  for (const char* id : {"R1", "r", "r1 ", " r1", ""}) {
    EXPECT_EQ(findRecorder(recorders_, id), nullptr) << id;
  }
  EXPECT_EQ(findRecorder({}, "r1"), nullptr);
  EXPECT_EQ(findRecorder(recorders_, std::string("r1\0", 3)), nullptr);
}

TEST_F(RecorderArchivesTest, RecorderArchiveKeepsOnlyItsMediaExtensions) {
  for (const char* name : {"r1_20240302T000000Z.MOV", "r1_20240303T000000Z.ts",
                           "r1_20240304T000000Z.txt", "r1_20240305T000000Z.mkv", "notes"}) {
    addRecording(dir_ / "a1", name, 1);
  }
  const ArchiveSet set = makeRecorderArchives({"r1"}, recorders_);
  std::vector<std::string> files = describe(set);
  std::sort(files.begin(), files.end());
  EXPECT_EQ(files, (std::vector<std::string>{kR1, "r1|Front|r1_20240302T000000Z.MOV",
                                             "r1|Front|r1_20240303T000000Z.ts"}));
}

TEST_F(RecorderArchivesTest, AfuQueuesAndTrashesFollowTheSet) {
  addRecording(dir_ / "a1", "r1_20240302T000000Z.mp4", 1, {"afu"});
  addRecording(dir_ / "a1", "r1_20240303T000000Z.mp4", 1, {}, true);
  addRecording(dir_ / "a2", "r2_20240302T000000Z.mp4", 1, {"afu"}, true);
  const ArchiveSet set = makeRecorderArchives({"r2", "r1"}, recorders_);
  const auto queues = afuQueues(set);
  const auto bins = trashes(set);
  ASSERT_EQ(queues.size(), 2u);
  ASSERT_EQ(bins.size(), 2u);
  for (std::size_t i = 0; i < set.size(); ++i) {
    EXPECT_EQ(queues[i], &set[i]->afuQueue) << i;
    EXPECT_EQ(bins[i], &set[i]->trash) << i;
  }
  EXPECT_EQ(describe(queues), (std::vector<std::string>{"r2|Cabin|r2_20240302T000000Z.mp4",
                                                         "r1|Front|r1_20240302T000000Z.mp4"}));
  EXPECT_EQ(describe(bins), (std::vector<std::string>{"r2|Cabin|r2_20240302T000000Z.mp4",
                                                       "r1|Front|r1_20240303T000000Z.mp4"}));
  EXPECT_TRUE(afuQueues({}).empty());
  EXPECT_TRUE(trashes({}).empty());
}

TEST(ChannelArchivesTest, NamePrefixSelectsFilesOfEveryExtension) {
  TempDir dir;
  for (const char* name : {"cam_1.mp4", "cam_2.txt", "cam", "other_1.mp4"}) {
    addRecording(dir / "ch", name, 1);
  }
  struct Case {
    std::string name;
    std::vector<std::string> files;
  };
  const std::vector<Case> cases = {
      {"cam", {"cam|cam|cam", "cam|cam|cam_1.mp4", "cam|cam|cam_2.txt"}},
      {"other", {"other|other|other_1.mp4"}},
      {"", {"||cam", "||cam_1.mp4", "||cam_2.txt", "||other_1.mp4"}},
      {"Cam", {}},
  };
  for (const Case& c : cases) {
    const ArchiveSet set = makeChannelArchives(dir / "ch", c.name);
    ASSERT_EQ(set.size(), 1u) << c.name;
    std::vector<std::string> files = describe(set);
    std::sort(files.begin(), files.end());
    EXPECT_EQ(files, c.files) << c.name;
  }
}

}  // namespace
