// Tests of loading the device configuration file: good files, unreadable files, JSON
// errors with their line and column, and the once-per-process database.
#include "cfg/configdb.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::TempDir;
using testing_support::writeFile;

// The what() of the std::runtime_error that loading `file` throws, or "no error".
std::string loadError(const std::string& file) {
  try {
    cfg::Configdb::load(file);
  } catch (const std::runtime_error& e) {
    return e.what();
  }
  return "no error";
}

TEST(ConfigdbTest, LoadKeepsTheTreeAndTheFile) {
  TempDir dir;
  const std::string file = dir / "config.json";
  writeFile(file, R"({"media": {"recorders": []}, "other": [1, "x"]})");
  const cfg::Configdb db = cfg::Configdb::load(file);
  EXPECT_EQ(db.root().file().string(), file);
  EXPECT_EQ(db.root().value(),
            nlohmann::json::parse(R"({"media": {"recorders": []}, "other": [1, "x"]})"));
}

TEST(ConfigdbTest, UnreadableFileNamesTheSystemsReason) {
  TempDir dir;
  writeFile(dir / "folder/inner", "");
  EXPECT_EQ(loadError(dir / "absent.json"),
            dir / "absent.json: cannot read: No such file or directory");
  EXPECT_EQ(loadError(dir / "folder"), dir / "folder: cannot read: Is a directory");
  EXPECT_EQ(loadError(dir / "folder/inner/x.json"),
            dir / "folder/inner/x.json: cannot read: Not a directory");
}

TEST(ConfigdbTest, FileWithoutReadPermissionIsAnError) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads any file";
  TempDir dir;
  writeFile(dir / "locked.json", "{}");
  ASSERT_EQ(chmod((dir / "locked.json").c_str(), 0), 0);
  EXPECT_EQ(loadError(dir / "locked.json"),
            dir / "locked.json: cannot read: Permission denied");
}

TEST(ConfigdbTest, BrokenJsonIsReportedWithLineAndColumn) {
  struct Case {
    const char* name;
    std::string text;
    std::string where;  // "line L, column C"
  };
  const std::vector<Case> cases = {
      {"empty file", "", "line 1, column 1"},
      {"first byte", "x", "line 1, column 1"},
      {"bad literal on line 3", "{\n  \"a\": 1,\n  \"b\": tru\n}", "line 3, column 11"},
      {"bracket on line 3", "{\n\n   ]", "line 3, column 4"},
      {"ends after a line end", "{\n  \"a\": 1,\n", "line 3, column 1"},
      {"ends mid line", "{\"a\": [1,", "line 1, column 10"},
      {"trailing garbage", "{}\n}", "line 2, column 1"},
      {"bad UTF-8 in a string", "{\"a\":\n\"x\xFF\"}", "line 2, column 3"},
      {"CRLF line ends", "{\r\n\"a\":\r\n?", "line 3, column 1"},
  };
  TempDir dir;
  const std::string file = dir / "config.json";
  for (const Case& c : cases) {
    writeFile(file, c.text);
    const std::string prefix = file + ": not valid JSON at " + c.where + ": ";
    const std::string message = loadError(file);
    EXPECT_EQ(message.substr(0, prefix.size()), prefix) << c.name;
    EXPECT_GT(message.size(), prefix.size()) << c.name << ": no reason given";
    EXPECT_EQ(message.find('\n'), std::string::npos) << c.name;
    EXPECT_EQ(message.find("json.exception"), std::string::npos) << c.name;
  }
}

TEST(ConfigdbTest, ParseReasonComesFromTheParser) {
  TempDir dir;
  writeFile(dir / "c.json", "{\n\n   ]");
  EXPECT_EQ(loadError(dir / "c.json"),
            dir / "c.json: not valid JSON at line 3, column 4: syntax error while parsing "
                  "object key - unexpected ']'; expected string literal");
}

// The only test in this program that touches the process-wide database: it is loaded
// once, so a failure stays a failure even after the file is repaired.
TEST(ConfigdbTest, ConfigLoadsOnceAndRepeatsItsFailure) {
  TempDir dir;
  const std::string file = dir / "device.json";
  ASSERT_EQ(setenv("DEVICE_CONFIG", file.c_str(), 1), 0);
  const std::string expected = file + ": cannot read: No such file or directory";
  for (int call = 1; call <= 2; ++call) {
    try {
      cfg::Configdb::config();
      ADD_FAILURE() << "call " << call << ": no exception";
    } catch (const std::runtime_error& e) {
      EXPECT_EQ(e.what(), expected) << "call " << call;
    }
    writeFile(file, R"({"media": {}})");  // too late: the first outcome stands
  }
  unsetenv("DEVICE_CONFIG");
}

}  // namespace
