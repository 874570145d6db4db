// Tests of choosing the archive set: recorder identifiers, "*" and "all", one channel by
// --path and --name, and the AFU-queue and trash views; observed on real folders.
#include "archive_access/archive_access.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::addRecording;
using testing_support::TempDir;
using Files = std::vector<std::string>;

// "<recorderName>|<recorderLabel>|<fileName>" of each file of the sources, in gathering
// order (which within one folder is the folder's, hence `sorted` for several files).
template <typename Source>
Files describe(const std::vector<Source>& sources) {
  std::deque<archive::detail::FileEntry> entries;
  for (const auto& source : sources) source->appendEntries(entries);
  Files files;
  archive::detail::browseFileEntries(entries, archive::BrowseSortOrder::none, 0, 0, {},
                                     [&](archive::FileInfo& file) {
                                       files.push_back(file.owner->recorderName + "|" +
                                                       file.owner->recorderLabel + "|" +
                                                       file.fileName);
                                       return true;
                                     });
  return files;
}

Files sorted(Files files) {
  std::sort(files.begin(), files.end());
  return files;
}

// Configured recorders, each folder holding one recording named after it: r3 keeps no
// archive, and a second "r1" comes last.
class RecorderArchivesTest : public ::testing::Test {
 protected:
  RecorderArchivesTest() {
    addRecording(dir_ / "a1", "r1_20240301T140509Z.mp4", 10);
    addRecording(dir_ / "a2", "r2_20240301T140509Z.avi", 20);
    recorders_ = {record("r1", "Front", dir_ / "a1"), record("r2", "Cabin", dir_ / "a2"),
                  record("r3", "Spare", ""), record("r1", "Second", dir_ / "a2")};
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
const std::string kSecondR1 = "r1|Second|r2_20240301T140509Z.avi";

TEST_F(RecorderArchivesTest, SelectionFollowsTheIdentifiers) {
  struct Case {
    std::vector<std::string> identifiers;
    Files files;
    std::string missing = "";  // the identifier RecorderNotFound carries; "" for none
  };
  const std::vector<Case> cases = {
      {{"r2", "r1"}, {kR2, kR1}},
      {{"r1", "r1"}, {kR1, kR1}},
      {{"*"}, {kR1, kR2, kSecondR1}},
      {{"all"}, {kR1, kR2, kSecondR1}},
      {{"r3", "r2"}, {kR2}},
      {{}, {}},
      {{"R1"}, {}, "R1"},
      {{"r1", "x"}, {}, "x"},
      {{"ALL"}, {}, "ALL"},
      {{"all", "r1"}, {}, "all"},
      {{"r1", "*"}, {}, "*"},
      {{"r"}, {}, "r"},
      {{"r10"}, {}, "r10"},
  };
  for (const Case& c : cases) {
    const std::string name = ::testing::PrintToString(c.identifiers);
    try {
      const ArchiveSet set = makeRecorderArchives(c.identifiers, recorders_);
      EXPECT_EQ(describe(set), c.files) << name;
      EXPECT_EQ(set.size(), c.files.size()) << name << ": one archive per file";
      EXPECT_EQ(c.missing, "") << name << ": no exception";
    } catch (const RecorderNotFound& e) {
      EXPECT_STREQ(e.what(), "Recorder not found") << name;
      EXPECT_EQ(e.recorder, c.missing) << name;
    }
  }
}

TEST_F(RecorderArchivesTest, RecorderArchiveKeepsOnlyItsMediaExtensions) {
  for (const char* name : {"r1_20240302T000000Z.MOV", "r1_20240303T000000Z.ts",
                           "r1_20240304T000000Z.txt", "r1_20240305T000000Z.mkv", "notes"}) {
    addRecording(dir_ / "a1", name, 1);
  }
  EXPECT_EQ(sorted(describe(makeRecorderArchives({"r1"}, recorders_))),
            (Files{kR1, "r1|Front|r1_20240302T000000Z.MOV", "r1|Front|r1_20240303T000000Z.ts"}));
}

TEST_F(RecorderArchivesTest, AfuQueuesAndTrashesFollowTheSet) {
  addRecording(dir_ / "a1", "r1_20240302T000000Z.mp4", 1, {"afu"});
  addRecording(dir_ / "a1", "r1_20240303T000000Z.mp4", 1, {}, true);
  addRecording(dir_ / "a2", "r2_20240302T000000Z.mp4", 1, {"afu"}, true);
  const ArchiveSet set = makeRecorderArchives({"r2", "r1"}, recorders_);
  EXPECT_EQ(describe(afuQueues(set)),
            (Files{"r2|Cabin|r2_20240302T000000Z.mp4", "r1|Front|r1_20240302T000000Z.mp4"}));
  EXPECT_EQ(describe(trashes(set)),
            (Files{"r2|Cabin|r2_20240302T000000Z.mp4", "r1|Front|r1_20240303T000000Z.mp4"}));
}

// makeArchives over the options the parser reads from `words`.
ArchiveSet makeFrom(const Files& words) {
  popts::OptParser parser;
  popts::OptionValue<std::string> path(parser, 'p', "path", "Channel folder", 1, false);
  popts::OptionValue<std::string> name(parser, 'n', "name", "Channel name prefix", 1, false);
  popts::MultiOptionValue<std::string> ids(parser, 0, "", "Recorders identifiers", 128, false);
  std::vector<const char*> argv{"ls"};
  for (const std::string& word : words) argv.push_back(word.c_str());
  parser.parse(static_cast<int>(argv.size()), argv.data(), false);
  return makeArchives(path, name, ids);
}

// With --path the configuration is never read: it is broken here, and the identifiers
// would not be found in any configuration. A channel takes every extension.
TEST(MakeArchivesTest, PathSelectsOneChannelWithoutConfiguration) {
  TempDir dir;
  testing_support::writeFile(dir / "broken.json", "{ not json");
  ASSERT_EQ(setenv("DEVICE_CONFIG", (dir / "broken.json").c_str(), 1), 0);
  for (const char* name : {"cam_1.mp4", "cam_2.txt", "x_1.mp4"}) addRecording(dir / "ch", name, 1);
  const std::string ch = dir / "ch";
  const std::vector<std::pair<Files, Files>> cases = {
      {{"-p", ch, "-n", "cam"}, {"cam|cam|cam_1.mp4", "cam|cam|cam_2.txt"}},
      {{"-p", ch, "-n", "cam", "no-such-recorder"}, {"cam|cam|cam_1.mp4", "cam|cam|cam_2.txt"}},
      {{"-p", ch, "*"}, {"||cam_1.mp4", "||cam_2.txt", "||x_1.mp4"}},
      {{"-p", dir / "absent", "-n", "cam"}, {}},
  };
  for (const auto& c : cases) {
    const std::string name = ::testing::PrintToString(c.first);
    ArchiveSet set;
    ASSERT_NO_THROW(set = makeFrom(c.first)) << name;
    ASSERT_EQ(set.size(), 1u) << name;
    EXPECT_EQ(sorted(describe(set)), c.second) << name;
  }
}

// The only test here that loads the process-wide configuration; DEVICE_CONFIG is set
// once, before the first load. A relative folder is taken from the configuration's folder.
TEST(MakeArchivesTest, IdentifiersAreLookedUpInTheConfiguration) {
  TempDir dir;
  addRecording(dir / "archive/1", "front_20240301T140509Z.mp4", 1);
  addRecording(dir / "archive/2", "cabin_20240301T140509Z.mp4", 1);
  testing_support::writeDeviceConfig(
      dir / "etc/config.json", {{"1", "Front", "../archive/1"}, {"2", "Cabin", dir / "archive/2"}});
  ASSERT_EQ(setenv("DEVICE_CONFIG", (dir / "etc/config.json").c_str(), 1), 0);
  EXPECT_EQ(describe(makeFrom({"2", "1"})),
            (Files{"2|Cabin|cabin_20240301T140509Z.mp4", "1|Front|front_20240301T140509Z.mp4"}));
}

}  // namespace
