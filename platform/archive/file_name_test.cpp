// Tests of file-name parsing: start tokens, calendar checks, prefix, event id, extension.
#include "archive/detail/file_name.h"

#include <gtest/gtest.h>

namespace archive::detail {
namespace {

TEST(FileNameTest, ParseFindsTheFirstValidToken) {
  const struct {
    const char* name;
    std::int64_t start;  // 0: no token
    const char* prefix;
    const char* eventId;
  } cases[] = {
      {"front_20240301T140509Z_alarm-17.mp4", 1709301909, "front", "alarm-17"},
      {"cab_in_20240301T140509Z__x.ts", 1709301909, "cab_in", "_x"},
      {"a_20240229T235959Z.mp4", 1709251199, "a", ""},    // leap day
      {"a_20000229T000000Z.mp4", 951782400, "a", ""},     // leap: divisible by 400
      {"a_16000101T000000Z.mp4", -11676096000, "a", ""},  // long before the epoch
      {"a_19000229T120000Z.mp4", 0, "", ""},              // 1900 is no leap year
      {"a_20241301T120000Z.mp4", 0, "", ""},              // month 13
      {"a_20240131T240000Z.mp4", 0, "", ""},              // hour 24
      {"a_20240131T235960Z.mp4", 0, "", ""},              // no leap second
      {"a_20240301T140509z.mp4", 0, "", ""},
      {"a_20240230T120000Z_20240301T140509Z.mp4", 1709301909, "a_20240230T120000Z", ""},
      {"x.20240301T140509Z", 0, "", ""},  // a token in the extension is none
  };
  for (const auto& c : cases) {
    const NameParts parts = parseFileName(c.name);
    EXPECT_EQ(parts.hasToken, c.start != 0) << c.name;
    EXPECT_EQ(parts.startTime, c.start) << c.name;
    EXPECT_EQ(parts.prefix, c.prefix) << c.name;
    EXPECT_EQ(parts.eventId, c.eventId) << c.name;
  }
}

}  // namespace
}  // namespace archive::detail
