// Tests of reading the recorder list: defaults, relative folders, absent sections,
// unknown members, and one-line messages for members of the wrong type.
#include "sysinfo/mminfo.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "test_support.h"

namespace {

using testing_support::TempDir;
using testing_support::writeFile;

// The recorders read from `text` placed at `file`, as "id|label|folder" joined by "; ",
// or the text of the error.
std::string recordersOf(const std::string& file, const std::string& text) {
  writeFile(file, text);
  sysinfo::MMInfo info;
  const std::string error =
      testing_support::whatOf([&] { info.load(cfg::Configdb::load(file).root()); });
  if (error != "no error") return error;
  std::string result;
  for (const auto& r : info.recorders) {
    result += (result.empty() ? "" : "; ") + r->id + "|" + r->label + "|" + r->archiveDirectory;
  }
  return result;
}

std::string withRecorders(const std::string& list) {
  return R"({"media": {"recorders": [)" + list + "]}}";
}

// `text` with each "@" replaced by `dir`.
std::string expand(const std::string& text, const std::string& dir) {
  std::string result;
  for (char c : text) result += c == '@' ? dir : std::string(1, c);
  return result;
}

// A relative folder is taken from the folder of the configuration file ("@/etc"); the
// disk is not looked at, so none of these folders exists. Errors name the file and the
// member at fault.
TEST(MMInfoTest, RecordersInOrderWithDefaultsAndAbsoluteFoldersOrTheMemberAtFault) {
  const std::string file = "@/etc/config.json: ";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {withRecorders(R"({"id": "2", "label": "Cabin", "archiveDirectory": "/data/2"},)"
                     R"({"id": "1", "label": "Front", "archiveDirectory": "/abs/./x/../y"})"),
       "2|Cabin|/data/2; 1|Front|/abs/y"},
      {R"({"x": null, "media": {"y": [1], "recorders": [{"id": "7", "kind": 4}]}})", "7||"},
      {"{}", ""},
      {withRecorders(R"({"id": "1", "archiveDirectory": "./rec1/"})"), "1||@/etc/rec1"},
      {withRecorders(R"({"id": "1", "archiveDirectory": "../data//rec1"})"), "1||@/data/rec1"},
      {"[]", file + "top level: expected an object"},
      {R"({"media": []})", file + "media: expected an object"},
      {R"({"media": {"recorders": {}}})", file + "media.recorders: expected an array"},
      {withRecorders(R"({"id": "1"}, 5)"), file + "media.recorders[1]: expected an object"},
      {withRecorders(R"({"id": "1"}, {"id": 2})"), file + "media.recorders[1].id: expected a string"},
      {withRecorders(R"({"label": "x"})"), file + "media.recorders[0].id: missing"},
      {withRecorders(R"({"id": "1"}, {"id": "1", "archiveDirectory": "/a\u0000b"})"),
       file + "media.recorders[1].archiveDirectory: holds a NUL byte"},
  };
  TempDir dir;
  for (const auto& [text, want] : cases)
    EXPECT_EQ(recordersOf(dir / "etc/config.json", text), expand(want, dir.path())) << text;
}

}  // namespace
