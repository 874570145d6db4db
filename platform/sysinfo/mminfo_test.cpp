// Tests of reading the recorder list: defaults, relative folders, absent sections,
// unknown members, and one-line messages for members of the wrong type.
#include "sysinfo/mminfo.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace {

// The recorders of `text` read as /cfg/etc/config.json, as "id|label|folder" joined by
// "; ", or the text of the error.
std::string recordersOf(const std::string& text) {
  sysinfo::MMInfo info;
  const std::string error = testing_support::whatOf(
      [&] { info.load(cfg::Configdb::parse(text, "/cfg/etc/config.json").root()); });
  if (error != "no error") return error;
  std::string result;
  for (const auto& r : info.recorders)
    result += (result.empty() ? "" : "; ") + r->id + "|" + r->label + "|" + r->archiveDirectory;
  return result;
}

std::string withRecorders(const std::string& list) {
  return R"({"media": {"recorders": [)" + list + "]}}";
}

// A relative folder is taken from the folder of the configuration file; the disk is not
// looked at, so none of these folders exists. Errors name the file and the
// member at fault.
TEST(MMInfoTest, RecordersInOrderWithDefaultsAndAbsoluteFoldersOrTheMemberAtFault) {
  const std::string file = "/cfg/etc/config.json: ";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {withRecorders(R"({"id": "2", "label": "Cabin", "archiveDirectory": "/data/2"},)"
                     R"({"id": "1", "label": "Front", "archiveDirectory": "/abs/./x/../y"})"),
       "2|Cabin|/data/2; 1|Front|/abs/y"},
      {R"({"x": null, "media": {"y": [1], "recorders": [{"id": "7", "kind": 4}]}})", "7||"},
      {withRecorders(R"({"id": "1", "archiveDirectory": "../data//rec1"})"), "1||/cfg/data/rec1"},
      {"[]", file + "top level: expected an object"},
      {R"({"media": []})", file + "media: expected an object"},
      {R"({"media": {"recorders": {}}})", file + "media.recorders: expected an array"},
      {withRecorders(R"({"id": "1"}, 5)"), file + "media.recorders[1]: expected an object"},
      {withRecorders(R"({"id": "1"}, {"id": 2})"),
       file + "media.recorders[1].id: expected a string"},
      {withRecorders(R"({"label": "x"})"), file + "media.recorders[0].id: missing"},
      {withRecorders(R"({"id": "1"}, {"id": "1", "archiveDirectory": "/a\u0000b"})"),
       file + "media.recorders[1].archiveDirectory: holds a NUL byte"},
  };
  for (const auto& [text, want] : cases) EXPECT_EQ(recordersOf(text), want) << text;
}

}  // namespace
