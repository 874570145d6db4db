// Tests of choosing recorders by identifier: exact matches only, "*" and "all" alone,
// order and repeats kept, recorders without an archive skipped.
#include "archive_access/archive_access.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

TEST(RecorderArchivesTest, SelectionFollowsTheIdentifiers) {
  testing_support::TempDir dir;
  testing_support::addRecording(dir / "a1", "r1_20240301T140509Z.mp4", 1);
  testing_support::addRecording(dir / "a2", "r2_20240301T140509Z.avi", 1);
  testing_support::addRecording(dir / "a2", "r2_20240301T140510Z.jpg", 1);
  Recorders recorders;
  for (const auto& [id, folder] : std::vector<std::pair<std::string, std::string>>{
           {"r1", dir / "a1"}, {"r2", dir / "a2"}, {"r3", ""}, {"r1", dir / "a2"}})
    recorders.push_back(std::make_shared<sysinfo::RecorderInfo>(
        sysinfo::RecorderInfo{id, "L" + id, folder}));
  // What the set lists, "<recorder>|<label>|<file>" in order, or the identifier not found.
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      {{"r2", "r1", "r1"}, "r2|Lr2|r2_20240301T140509Z.avi r1|Lr1|r1_20240301T140509Z.mp4 "
                           "r1|Lr1|r1_20240301T140509Z.mp4 "},
      {{"all"}, "r1|Lr1|r1_20240301T140509Z.mp4 r2|Lr2|r2_20240301T140509Z.avi "
                "r1|Lr1|r2_20240301T140509Z.avi "},
      {{"*"}, "r1|Lr1|r1_20240301T140509Z.mp4 r2|Lr2|r2_20240301T140509Z.avi "
              "r1|Lr1|r2_20240301T140509Z.avi "},
      {{"r3"}, ""},
      {{"R1"}, "not found: R1"},
      {{"r"}, "not found: r"},
      {{"ALL"}, "not found: ALL"},
      {{"all", "r1"}, "not found: all"},
  };
  for (const auto& [identifiers, want] : cases) {
    std::string got;
    try {
      const ArchiveSet set = makeRecorderArchives(identifiers, recorders);
      std::deque<archive::detail::FileEntry> entries = gatherEntries(set);
      archive::detail::browseFileEntries(
          entries, archive::BrowseSortOrder::none, 0, 0, {}, [&](archive::FileInfo& file) {
            got += file.owner->recorderName + "|" + file.owner->recorderLabel + "|" +
                   file.fileName + " ";
            return true;
          });
    } catch (const RecorderNotFound& e) {
      got = "not found: " + e.recorder;
    }
    EXPECT_EQ(got, want) << ::testing::PrintToString(identifiers);
  }
}

}  // namespace
