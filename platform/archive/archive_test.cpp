// Tests of gathering archive folders: what counts as a recording, and names kept exactly.
// Missing and unreadable folders are shown end to end in tests/commands_test.cpp.
#include "archive/archive.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "test_support.h"

namespace archive {
namespace {

using testing_support::addRecording;
using testing_support::TempDir;
using testing_support::writeFile;
using Names = std::vector<std::string>;

// The file names `source` gathers, in name order.
template <class Source>
Names gathered(const Source& source) {
  std::deque<detail::FileEntry> entries;
  source.appendEntries(entries);
  Names names;
  detail::browseFileEntries(entries, BrowseSortOrder::none, 0, 0, BrowseFilter(),
                            [&](FileInfo& f) { return names.push_back(f.fileName), true; });
  std::sort(names.begin(), names.end());
  return names;
}

// Names are kept as the text around their start token; each must come back exactly, also
// when a folder holds more shapes than it keeps.
TEST(ArchiveLayoutTest, NamesComeBackExactlyWhateverTheirShape) {
  TempDir dir;
  Names written = {"x_20240301T140000Z",     "a.b_20240301T140000Z.c.mp4",
                   "20240301T140000Z.ts",    "p_20240301T140000Z_20240301T150000Z_e.mp4",
                   "q20240301T140000Zr.MP4", "y_00000101T000000Z.mp4",
                   "y_99991231T235959Z.mp4", "z_20240301T140000Z."};
  for (int i = 0; i < 300; ++i)
    written.push_back("c" + std::to_string(i) + "_20240301T140000Z.mp4");
  for (const std::string& name : written) addRecording(dir.path(), name, 0);
  std::sort(written.begin(), written.end());
  EXPECT_EQ(gathered(Archive("1", "VGA", "", dir.path(), "")), written);
}

TEST(ArchiveLayoutTest, OnlyVisibleRegularFilesAndLinksToThemAreRecordings) {
  TempDir dir;
  addRecording(dir.path(), "a_20240301T140000Z.mp4", 1);
  addRecording(dir.path(), ".b_20240301T140100Z.mp4", 1);
  writeFile(dir / "c_20240301T140200Z.mp4/d_20240301T140300Z.mp4", "x");
  writeFile(dir / "target.bin", "12345");
  ASSERT_EQ(symlink((dir / "target.bin").c_str(), (dir / "e_20240301T140400Z.mp4").c_str()), 0);
  ASSERT_EQ(symlink((dir / "nowhere").c_str(), (dir / "f_20240301T140500Z.mp4").c_str()), 0);
  ASSERT_EQ(
      symlink((dir / "c_20240301T140200Z.mp4").c_str(), (dir / "g_20240301T140600Z.mp4").c_str()),
      0);
  EXPECT_EQ(gathered(Archive("1", "VGA", "", dir.path(), "mp4")),
            (Names{"a_20240301T140000Z.mp4", "e_20240301T140400Z.mp4"}));
}

}  // namespace
}  // namespace archive
