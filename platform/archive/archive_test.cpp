// Tests of the archive layout through real folders: selection, markers, trash, the AFU
// queue, names without a start token, odd entries and folder errors.
#include "archive/archive.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "archive/archive_test_util.h"
#include "test_support.h"

namespace archive {
namespace {

using testing_support::addRecording;
using testing_support::makeDirs;
using testing_support::setMtime;
using testing_support::TempDir;
using testing_support::writeFile;
using testutil::gather;
using testutil::names;
using testutil::Seen;
using Names = std::vector<std::string>;

const char kAll[] = "avi,mov,mp4,ts";

TEST(ArchiveLayoutTest, FileReportsStartEventPathAndACopiedOwner) {
  TempDir dir;
  addRecording(dir.path(), "front_20240301T140509Z_alarm-17.mp4", 1);
  std::unique_ptr<Archive> archive;
  {
    std::string id = "7", label = "Front door", path = dir.path(), exts = kAll;
    archive = std::make_unique<Archive>(id, "VGA", label, path, exts);
    id.assign(40, 'x'), label.assign(40, 'y'), path = "/nowhere", exts = "mkv";
  }
  const auto files = gather(*archive);
  ASSERT_EQ(files.size(), 1u);
  const Seen& f = files[0];
  EXPECT_EQ(f.eventId, "alarm-17");
  EXPECT_EQ(f.path, dir.path() + "/front_20240301T140509Z_alarm-17.mp4");
  EXPECT_EQ(f.start, 1709301909);
  EXPECT_EQ(f.recorder, "7");
  EXPECT_EQ(f.label, "Front door");
}

// The name and flags of each file, e.g. "a.mp4: deleted afu".
Names withFlags(const std::vector<Seen>& files) {
  Names out;
  for (const Seen& f : files) {
    out.push_back(f.fileName + ":");
    for (const auto& [set, word] : {std::pair{f.deleted, " deleted"},
                                    {f.recording, " recording"},
                                    {f.locked, " locked"},
                                    {f.downloaded, " downloaded"},
                                    {f.afu, " afu"}})
      if (set) out.back() += word;
  }
  return out;
}

TEST(ArchiveLayoutTest, MarkersFlagTheSameNameInFolderAndTrash) {
  TempDir dir;
  addRecording(dir.path(), "a_20240301T140000Z.mp4", 1, {"locked", "recording"});
  addRecording(dir.path(), "b_20240301T140100Z.mp4", 1, {"downloaded", "afu"}, true);
  addRecording(dir.path(), "b_20240301T140100Z.mp4", 1);  // same name, not deleted
  addRecording(dir.path(), "c_20240301T140200Z.mp4", 1);
  Archive archive("1", "VGA", "", dir.path(), kAll);
  std::deque<detail::FileEntry> entries;
  archive.appendEntries(entries);
  archive.trash.appendEntries(entries);
  EXPECT_EQ(
      withFlags(testutil::browse(entries)),
      (Names{"a_20240301T140000Z.mp4: recording locked", "b_20240301T140100Z.mp4: downloaded afu",
             "b_20240301T140100Z.mp4: deleted downloaded afu", "c_20240301T140200Z.mp4:"}));
}

TEST(ArchiveLayoutTest, AfuQueueHoldsMarkedFilesOfFolderAndTrash) {
  TempDir dir;
  addRecording(dir.path(), "a_20240301T140000Z.mp4", 1, {"afu"});
  addRecording(dir.path(), "b_20240301T140100Z.mp4", 1, {"afu"}, true);
  addRecording(dir.path(), "c_20240301T140200Z.mp4", 1);           // no other marker folder
  addRecording(dir.path(), "d_20240301T140300Z.mkv", 1, {"afu"});  // not selected
  writeFile(dir / ".afu/gone_20240301T140400Z.mp4", "");           // no recording
  Archive archive("1", "VGA", "", dir.path(), kAll);
  EXPECT_EQ(withFlags(gather(archive.afuQueue)),
            (Names{"a_20240301T140000Z.mp4: afu", "b_20240301T140100Z.mp4: deleted afu"}));
}

TEST(ArchiveLayoutTest, ExtensionsAreComparedIgnoringCase) {
  TempDir dir;
  for (const char* n : {"a_20240301T140000Z.MP4", "b_20240301T140100Z.Ts", "c_20240301T140200Z.mkv",
                        "d_20240301T140300Z", "e_20240301T140400Z.avi", "f_20240301T140500Z."})
    addRecording(dir.path(), n, 1);
  struct Case {
    const char* list;
    Names want;
  };
  const Case cases[] = {
      {kAll, {"a_20240301T140000Z.MP4", "b_20240301T140100Z.Ts", "e_20240301T140400Z.avi"}},
      {"MKV", {"c_20240301T140200Z.mkv"}},
      {" mp4 , avi ", {"a_20240301T140000Z.MP4", "e_20240301T140400Z.avi"}},
      {"mp", {}},
      {"",
       {"a_20240301T140000Z.MP4", "b_20240301T140100Z.Ts", "c_20240301T140200Z.mkv",
        "d_20240301T140300Z", "e_20240301T140400Z.avi", "f_20240301T140500Z."}},
  };
  for (const Case& c : cases) {
    Archive archive("1", "VGA", "", dir.path(), kAll);
    archive.setExtensions(c.list);
    EXPECT_EQ(names(gather(archive)), c.want) << "list \"" << c.list << "\"";
  }
}

TEST(ArchiveLayoutTest, ChannelSelectsByBytePrefixAndReportsIt) {
  TempDir dir;
  for (const char* n : {"front_20240301T140000Z.mp4", "frontdoor_20240301T140100Z.mp4",
                        "Front_20240301T140200Z.mp4", "rear_20240301T140300Z.mp4"})
    addRecording(dir.path(), n, 1);
  Archive front("front", dir.path(), "");
  const auto files = gather(front);
  EXPECT_EQ(names(files), (Names{"front_20240301T140000Z.mp4", "frontdoor_20240301T140100Z.mp4"}));
  for (const Seen& f : files) EXPECT_EQ(f.recorder + "/" + f.label, "front/front") << f.fileName;
  EXPECT_EQ(gather(Archive("", dir.path(), "")).size(), 4u);
}

TEST(ArchiveLayoutTest, NamesWithoutValidTokenStartAtTheirModificationTime) {
  TempDir dir;
  addRecording(dir.path(), "CAM0001.MP4", 1);
  addRecording(dir.path(), "a_20240230T120000Z.mp4", 1);  // no such day
  setMtime(dir / "CAM0001.MP4", 1600000000);
  setMtime(dir / "a_20240230T120000Z.mp4", 1500000000);
  const auto files = gather(Archive("1", "VGA", "", dir.path(), kAll));
  ASSERT_EQ(names(files), (Names{"a_20240230T120000Z.mp4", "CAM0001.MP4"}));
  EXPECT_EQ(files[0].start, 1500000000);
  EXPECT_EQ(files[1].start, 1600000000);
}

// Names are kept as the text around their token; each must come back exactly, also when
// a folder holds more shapes than it keeps.
TEST(ArchiveLayoutTest, NamesComeBackExactlyWhateverTheirShape) {
  TempDir dir;
  Names written = {"x_20240301T140000Z", "a.b_20240301T140000Z.c.mp4", "20240301T140000Z.ts",
                   "p_20240301T140000Z_20240301T150000Z_e.mp4", "q20240301T140000Zr.MP4",
                   "y_00000101T000000Z.mp4", "y_99991231T235959Z.mp4", "z_20240301T140000Z."};
  for (int i = 0; i < 300; ++i) written.push_back("c" + std::to_string(i) + "_20240301T140000Z.mp4");
  for (const std::string& name : written) addRecording(dir.path(), name, 0);
  Names got = names(gather(Archive("1", "VGA", "", dir.path(), "")));
  std::sort(written.begin(), written.end());
  std::sort(got.begin(), got.end());
  EXPECT_EQ(got, written);
}

TEST(ArchiveLayoutTest, HiddenNamesSubfoldersAndDanglingLinksAreNotRecordings) {
  TempDir dir;
  addRecording(dir.path(), "a_20240301T140000Z.mp4", 1);
  addRecording(dir.path(), ".b_20240301T140100Z.mp4", 1);
  makeDirs(dir / "c_20240301T140200Z.mp4");
  writeFile(dir / "sub/d_20240301T140300Z.mp4", "x");
  writeFile(dir / "target.bin", "12345");
  ASSERT_EQ(symlink((dir / "target.bin").c_str(), (dir / "e_20240301T140400Z.mp4").c_str()), 0);
  ASSERT_EQ(symlink((dir / "nowhere").c_str(), (dir / "f_20240301T140500Z.mp4").c_str()), 0);
  ASSERT_EQ(symlink((dir / "sub").c_str(), (dir / "g_20240301T140600Z.mp4").c_str()), 0);
  Archive archive("1", "VGA", "", dir.path(), kAll);
  std::deque<detail::FileEntry> entries;
  archive.appendEntries(entries);
  EXPECT_EQ(entries.size(), 2u);  // sorted out while gathering, not only when browsing
  const auto files = testutil::browse(entries);
  ASSERT_EQ(names(files), (Names{"a_20240301T140000Z.mp4", "e_20240301T140400Z.mp4"}));
  EXPECT_EQ(files[1].size, 5);  // the link's target
}

TEST(ArchiveFolderTest, MissingFolderIsEmptyButAFileIsAnErrorNamingIt) {
  TempDir dir;
  Archive missing("1", "VGA", "", dir / "not/there", kAll);
  EXPECT_TRUE(gather(missing).empty());
  EXPECT_TRUE(gather(missing.trash).empty());
  EXPECT_TRUE(gather(missing.afuQueue).empty());

  writeFile(dir / "plain", "x");
  Archive file("2", "VGA", "", dir / "plain", kAll);
  const std::string want = dir.path() + "/plain: cannot read: Not a directory";
  EXPECT_EQ(testing_support::whatOf([&] { gather(file); }), want);
  EXPECT_EQ(testing_support::whatOf([&] { gather(file.trash); }), want);
  EXPECT_EQ(testing_support::whatOf([&] { gather(file.afuQueue); }), want);
}

}  // namespace
}  // namespace archive
