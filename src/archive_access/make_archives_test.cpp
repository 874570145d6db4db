// Tests of makeArchives: --path selects one channel without reading the device
// configuration; otherwise the identifiers are looked up in that configuration.
#include "archive_access/archive_access.h"

#include <algorithm>
#include <cstdlib>
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

// The options of a command, given the way the parser gives them.
struct Options {
  Options(const std::vector<std::string>& paths, const std::vector<std::string>& names,
          const std::vector<std::string>& identifiers) {
    for (const auto& p : paths) give(path, p);
    for (const auto& n : names) give(name, n);
    for (const auto& i : identifiers) give(ids, i);
  }
  static void give(popts::Opt& option, const std::string& value) {
    const char* argv[] = {value.c_str()};
    option.parse(1, argv);
  }
  ArchiveSet make() const { return makeArchives(path, name, ids); }

  popts::OptionValue<std::string> path{'p', "path", "Channel folder", 1, false};
  popts::OptionValue<std::string> name{'n', "name", "Channel name prefix", 1, false};
  popts::MultiOptionValue<std::string> ids{0, "", "Recorders identifiers", 100, false};
};

// "<recorderName>:<fileName>" of every file of the set's archives, in set order.
std::vector<std::string> files(const ArchiveSet& set) {
  std::deque<archive::detail::FileEntry> entries;
  for (const auto& a : set) a->appendEntries(entries);
  std::vector<std::string> result;
  archive::detail::browseFileEntries(entries, archive::BrowseSortOrder::none, 0, 0, {},
                                     [&](archive::FileInfo& file) {
                                       result.push_back(file.owner->recorderName + ":" +
                                                        file.fileName);
                                       return true;
                                     });
  return result;
}

// With --path the configuration is never read: it is broken here, and the identifiers
// would not be found in any configuration.
TEST(MakeArchivesTest, PathSelectsOneChannelWithoutConfiguration) {
  TempDir dir;
  writeFile(dir / "broken.json", "{ not json");
  ASSERT_EQ(setenv("DEVICE_CONFIG", (dir / "broken.json").c_str(), 1), 0);
  addRecording(dir / "ch", "cam_1.mp4", 1);
  addRecording(dir / "ch", "x_1.mp4", 1);
  struct Case {
    std::vector<std::string> paths, names, identifiers;
    std::vector<std::string> files;
  };
  const std::string ch = dir / "ch";
  const std::vector<Case> cases = {
      {{ch}, {"cam"}, {}, {"cam:cam_1.mp4"}},
      {{ch}, {"cam"}, {"no-such-recorder"}, {"cam:cam_1.mp4"}},
      {{ch}, {}, {"*"}, {":cam_1.mp4", ":x_1.mp4"}},
      {{dir / "absent"}, {"cam"}, {}, {}},
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    ArchiveSet set;
    const Options options(cases[i].paths, cases[i].names, cases[i].identifiers);
    ASSERT_NO_THROW(set = options.make()) << "case " << i;
    ASSERT_EQ(set.size(), 1u) << "case " << i;
    std::vector<std::string> got = files(set);
    std::sort(got.begin(), got.end());
    EXPECT_EQ(got, cases[i].files) << "case " << i;
  }
}

// The only test here that loads the process-wide configuration; DEVICE_CONFIG is set
// once, before the first load.
TEST(MakeArchivesTest, IdentifiersAreLookedUpInTheConfiguration) {
  TempDir dir;
  addRecording(dir / "archive/1", "front_20240301T140509Z.mp4", 1);
  addRecording(dir / "archive/2", "cabin_20240301T140509Z.mp4", 1);
  // Relative folders: taken from the folder of the configuration file.
  writeDeviceConfig(dir / "etc/config.json", {{"1", "Front", "../archive/1"},
                                              {"2", "Cabin", dir / "archive/2"},
                                              {"3", "Spare", ""}});
  ASSERT_EQ(setenv("DEVICE_CONFIG", (dir / "etc/config.json").c_str(), 1), 0);

  EXPECT_EQ(files(Options({}, {}, {"2", "1"}).make()),
            (std::vector<std::string>{"2:cabin_20240301T140509Z.mp4",
                                      "1:front_20240301T140509Z.mp4"}));
  EXPECT_EQ(files(Options({}, {}, {"all"}).make()),
            (std::vector<std::string>{"1:front_20240301T140509Z.mp4",
                                      "2:cabin_20240301T140509Z.mp4"}));
  EXPECT_TRUE(Options({}, {}, {}).make().empty());
  EXPECT_TRUE(Options({}, {"cam"}, {"3"}).make().empty());
  try {
    Options({}, {}, {"1", "4"}).make();
    ADD_FAILURE() << "no exception";
  } catch (const RecorderNotFound& e) {
    EXPECT_STREQ(e.what(), "Recorder not found");
    EXPECT_EQ(e.recorder, "4");
  }
}

}  // namespace
