// Tests of reading the recorder list: defaults, relative folders, absent sections,
// unknown members, and one-line messages for members of the wrong type.
#include "sysinfo/mminfo.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::Recorder;
using testing_support::TempDir;
using testing_support::writeDeviceConfig;
using testing_support::writeFile;

// Loads the configuration text `text` placed at `file`.
sysinfo::MMInfo loadText(const std::string& file, const std::string& text) {
  writeFile(file, text);
  sysinfo::MMInfo info;
  info.load(cfg::Configdb::load(file).root());
  return info;
}

std::string loadError(const std::string& file, const std::string& text) {
  try {
    loadText(file, text);
  } catch (const std::runtime_error& e) {
    return e.what();
  }
  return "no error";
}

TEST(MMInfoTest, RecordersKeepConfigurationOrderAndFields) {
  TempDir dir;
  const std::string file = dir / "config.json";
  writeDeviceConfig(file, {{"2", "Cabin", "/data/archive/2"},
                           {"1", "Front", "/data/archive/1"},
                           {"3", "", ""}});
  sysinfo::MMInfo info;
  info.load(cfg::Configdb::load(file).root());
  ASSERT_EQ(info.recorders.size(), 3u);
  const std::vector<std::vector<std::string>> expected = {
      {"2", "Cabin", "/data/archive/2"}, {"1", "Front", "/data/archive/1"}, {"3", "", ""}};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(info.recorders[i]->id, expected[i][0]) << i;
    EXPECT_EQ(info.recorders[i]->label, expected[i][1]) << i;
    EXPECT_EQ(info.recorders[i]->archiveDirectory, expected[i][2]) << i;
  }
  EXPECT_TRUE(info.cameras.empty());
  EXPECT_TRUE(info.storages.empty());
}

TEST(MMInfoTest, ArchiveDirectoryIsMadeAbsoluteAndNormal) {
  struct Case {
    std::string given;
    std::string expected;  // relative to the folder of the configuration file
  };
  TempDir dir;  // none of the archive folders exists: the disk is not looked at
  const std::string base = dir / "etc";
  const std::vector<Case> cases = {
      {"rec1", base + "/rec1"},
      {"./rec1/", base + "/rec1"},
      {"../data//rec1", dir / "data/rec1"},
      {".", base},
      {"/abs/./x/../y", "/abs/y"},
      {"/abs/y/", "/abs/y"},
      {"", ""},
  };
  for (const Case& c : cases) {
    writeDeviceConfig(base + "/config.json", {{"1", "", c.given}});
    sysinfo::MMInfo info;
    info.load(cfg::Configdb::load(base + "/config.json").root());
    ASSERT_EQ(info.recorders.size(), 1u) << c.given;
    EXPECT_EQ(info.recorders[0]->archiveDirectory, c.expected) << c.given;
  }
}

TEST(MMInfoTest, MissingSectionsAndOptionalMembers) {
  struct Case {
    const char* name;
    std::string text;
    std::size_t count;
  };
  const std::vector<Case> cases = {
      {"empty object", "{}", 0},
      {"media without recorders", R"({"media": {"cameras": 3}})", 0},
      {"empty list", R"({"media": {"recorders": []}})", 0},
      {"id only", R"({"media": {"recorders": [{"id": "7"}]}})", 1},
      {"unknown members", R"({"x": null, "media": {"y": [1], "recorders": [
          {"id": "7", "kind": 4, "label": "L", "extra": {"a": null}}]}})", 1},
  };
  TempDir dir;
  for (const Case& c : cases) {
    const sysinfo::MMInfo info = loadText(dir / "c.json", c.text);
    ASSERT_EQ(info.recorders.size(), c.count) << c.name;
    if (c.count == 1) {
      EXPECT_EQ(info.recorders[0]->id, "7") << c.name;
      EXPECT_EQ(info.recorders[0]->archiveDirectory, "") << c.name;
    }
  }
}

TEST(MMInfoTest, WrongTypesNameTheFileAndTheMember) {
  struct Case {
    std::string text;
    std::string message;  // after "<file>: "
  };
  const std::string ok = R"({"id": "1"})";
  const std::vector<Case> cases = {
      {"[]", "top level: expected an object"},
      {"null", "top level: expected an object"},
      {R"({"media": []})", "media: expected an object"},
      {R"({"media": "x"})", "media: expected an object"},
      {R"({"media": {"recorders": {}}})", "media.recorders: expected an array"},
      {R"({"media": {"recorders": null}})", "media.recorders: expected an array"},
      {R"({"media": {"recorders": [)" + ok + R"(, 5]}})", "media.recorders[1]: expected an object"},
      {R"({"media": {"recorders": [)" + ok + R"(, {"id": 2}]}})",
       "media.recorders[1].id: expected a string"},
      {R"({"media": {"recorders": [{"label": "x"}]}})", "media.recorders[0].id: missing"},
      {R"({"media": {"recorders": [{"id": "1", "label": null}]}})",
       "media.recorders[0].label: expected a string"},
      {R"({"media": {"recorders": [{"id": "1", "archiveDirectory": ["/a"]}]}})",
       "media.recorders[0].archiveDirectory: expected a string"},
  };
  TempDir dir;
  const std::string file = dir / "config.json";
  for (const Case& c : cases) EXPECT_EQ(loadError(file, c.text), file + ": " + c.message) << c.text;
}

TEST(MMInfoTest, FailedLoadKeepsThePreviousList) {
  TempDir dir;
  sysinfo::MMInfo info = loadText(dir / "good.json", R"({"media": {"recorders": [{"id": "1"}]}})");
  writeFile(dir / "bad.json", R"({"media": {"recorders": [{"id": "2"}, {"id": false}]}})");
  EXPECT_THROW(info.load(cfg::Configdb::load(dir / "bad.json").root()), std::runtime_error);
  ASSERT_EQ(info.recorders.size(), 1u);
  EXPECT_EQ(info.recorders[0]->id, "1");
}

}  // namespace
