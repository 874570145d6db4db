// Tests of loading the device configuration file: unreadable files, JSON errors with
// their line and column, and the once-per-process database.
#include "cfg/configdb.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::TempDir;
using testing_support::whatOf;
using testing_support::writeFile;

std::string loadError(const std::string& file) {
  return whatOf([&] { cfg::Configdb::load(file); });
}

// Opening fails for an absent file; reading fails for a folder.
TEST(ConfigdbTest, UnreadableFileNamesTheSystemsReason) {
  TempDir dir;
  testing_support::makeDirs(dir / "folder");
  EXPECT_EQ(loadError(dir / "absent.json"),
            dir / "absent.json: cannot read: No such file or directory");
  EXPECT_EQ(loadError(dir / "folder"), dir / "folder: cannot read: Is a directory");
}

TEST(ConfigdbTest, BrokenJsonIsOneLineWithLineAndColumn) {
  struct Case {
    const char* name;
    std::string text;
    std::string where;        // "line L, column C"
    std::string reason = "";  // the parser's text; "" for any non-empty text
  };
  const std::vector<Case> cases = {
      {"empty file", "", "line 1, column 1"},
      {"bad literal on line 3", "{\n  \"a\": 1,\n  \"b\": tru\n}", "line 3, column 11"},
      {"bracket on line 3", "{\n\n   ]", "line 3, column 4",
       "syntax error while parsing object key - unexpected ']'; expected string literal"},
      {"ends after a line end", "{\n  \"a\": 1,\n", "line 3, column 1"},
      {"trailing garbage", "{}\n}", "line 2, column 1"},
      {"CRLF line ends", "{\r\n\"a\":\r\n?", "line 3, column 1"},
  };
  TempDir dir;
  const std::string file = dir / "config.json";
  for (const Case& c : cases) {
    writeFile(file, c.text);
    const std::string prefix = file + ": not valid JSON at " + c.where + ": ";
    const std::string message = loadError(file);
    const std::string reason = message.substr(std::min(prefix.size(), message.size()));
    EXPECT_EQ(message.substr(0, prefix.size()), prefix) << c.name;
    EXPECT_TRUE(c.reason.empty() ? !reason.empty() : reason == c.reason)
        << c.name << ": " << reason;
    EXPECT_EQ(message.find('\n'), std::string::npos) << c.name;
    EXPECT_EQ(message.find("json.exception"), std::string::npos) << c.name;
  }
}

// The only test in this program that touches the process-wide database: it is loaded
// once, so a failure stays a failure even after the file is repaired.
TEST(ConfigdbTest, ConfigLoadsDeviceConfigOnceAndRepeatsItsFailure) {
  TempDir dir;
  const std::string file = dir / "device.json";
  ASSERT_EQ(setenv("DEVICE_CONFIG", file.c_str(), 1), 0);
  for (int call = 1; call <= 2; ++call) {
    EXPECT_EQ(whatOf([] { cfg::Configdb::config(); }),
              file + ": cannot read: No such file or directory")
        << "call " << call;
    writeFile(file, R"({"media": {}})");  // too late: the first outcome stands
  }
  unsetenv("DEVICE_CONFIG");
}

}  // namespace
