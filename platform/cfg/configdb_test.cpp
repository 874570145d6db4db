// Tests of loading the device configuration file: unreadable files, JSON errors with
// their line and column, and the once-per-process database.
#include "cfg/configdb.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "test_support.h"

namespace {

using testing_support::TempDir;
using testing_support::whatOf;
using testing_support::writeFile;

std::string loadError(const std::string& file) {
  return whatOf([&] { cfg::Configdb::load(file); });
}

// Only a regular file of at most 16 MiB is read, and nothing of any other is: a FIFO
// without a writer would block, /dev/zero never end.
TEST(ConfigdbTest, OnlyARegularFileOfAtMost16MiBIsRead) {
  TempDir dir;
  std::filesystem::create_directories(dir / "folder");
  ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
  writeFile(dir / "max", std::string((16 << 20) - 2, ' ') + "{}");
  writeFile(dir / "big", std::string((16 << 20) - 1, ' ') + "{}");
  const std::vector<std::pair<std::string, std::string>> cases = {
      {dir / "absent.json", "cannot read: No such file or directory"},
      {dir / "folder", "cannot read: a folder, not a regular file"},
      {dir / "fifo", "cannot read: a FIFO, not a regular file"},
      {"/dev/zero", "cannot read: a device, not a regular file"},
      {dir / "big", "cannot read: 16777217 bytes, larger than the 16 MiB a configuration may have"},
  };
  for (const auto& [file, fault] : cases) EXPECT_EQ(loadError(file), file + ": " + fault);
  EXPECT_EQ(loadError(dir / "max"), "no error");
}

// The place is counted in lines and columns from 1; the reason is the library's, with
// its own prefix cut and its quote of what it read last shortened.
TEST(ConfigdbTest, BrokenJsonIsOneLineWithLineAndColumn) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"{\r\n\n   ]",
       "line 3, column 4: syntax error while parsing object key - unexpected "
       "']'; expected string literal"},
      {std::string("{}\n\0}", 4), "line 2, column 1: a NUL byte"},
      {"{\"a\": \"" + std::string(1000, 'x'),
       "line 1, column 1008: syntax error while parsing value - invalid string: missing "
       "closing quote; last read: '\"" +
           std::string(36, 'x') + "...'"},
      {"{\"n\": \"1e99999\",\n \"a\": [1e99999]}",
       "line 2, column 8: number overflow parsing '1e99999'"},
  };
  for (const auto& [text, fault] : cases) {
    EXPECT_EQ(whatOf([&] { cfg::Configdb::parse(text, "/etc/x.json"); }),
              "/etc/x.json: not valid JSON at " + fault)
        << text.substr(0, 20);
  }
}

}  // namespace
