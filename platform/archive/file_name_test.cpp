// Tests of file-name parsing: start tokens, calendar checks, prefix, event id, extension.
#include "archive/detail/file_name.h"

#include <gtest/gtest.h>

#include <string>

namespace archive::detail {
namespace {

TEST(FileNameTest, ParseFindsTheFirstValidToken) {
  struct Case {
    const char* name;
    bool hasToken;
    std::int64_t start;
    const char* prefix;
    const char* eventId;
  };
  const Case cases[] = {
      {"front_20240301T140509Z_alarm-17.mp4", true, 1709301909, "front", "alarm-17"},
      {"cab_in_20240301T140509Z__x.ts", true, 1709301909, "cab_in", "_x"},
      {"20240301T140509Z.avi", true, 1709301909, "", ""},
      {"front20240301T140509Zlate.mp4", true, 1709301909, "front", "late"},
      {"front_20240301T140509Z", true, 1709301909, "front", ""},
      {"a_20240229T235959Z.mp4", true, 1709251199, "a", ""},    // leap day
      {"a_20000229T000000Z.mp4", true, 951782400, "a", ""},     // leap: divisible by 400
      {"a_21000301T000000Z.mp4", true, 4107542400, "a", ""},    // after 2100, no leap year
      {"a_16000101T000000Z.mp4", true, -11676096000, "a", ""},  // long before the epoch
      {"a_19691231T235959Z.mp4", true, -1, "a", ""},
      {"a_20240230T120000Z.mp4", false, 0, "", ""},  // no 30 February
      {"a_20230229T120000Z.mp4", false, 0, "", ""},  // 2023 is no leap year
      {"a_19000229T120000Z.mp4", false, 0, "", ""},  // nor is 1900
      {"a_20241301T120000Z.mp4", false, 0, "", ""},  // month 13
      {"a_20240001T120000Z.mp4", false, 0, "", ""},  // month 0
      {"a_20240100T120000Z.mp4", false, 0, "", ""},  // day 0
      {"a_20240131T240000Z.mp4", false, 0, "", ""},  // hour 24
      {"a_20240131T236000Z.mp4", false, 0, "", ""},  // minute 60
      {"a_20240131T235960Z.mp4", false, 0, "", ""},  // no leap second
      {"a_2024031T140509Z.mp4", false, 0, "", ""},   // 7 digits
      {"a_20240301t140509Z.mp4", false, 0, "", ""},  // lower-case t
      {"a_20240301T140509z.mp4", false, 0, "", ""},  // lower-case z
      {"a_20240230T120000Z_20240301T140509Z.mp4", true, 1709301909, "a_20240230T120000Z",
       ""},                                      // first valid one wins
      {"x.20240301T140509Z", false, 0, "", ""},  // token inside extension
      {"", false, 0, "", ""},
  };
  for (const Case& c : cases) {
    const NameParts parts = parseFileName(c.name);
    EXPECT_EQ(parts.hasToken, c.hasToken) << c.name;
    EXPECT_EQ(parts.startTime, c.start) << c.name;
    EXPECT_EQ(parts.prefix, c.prefix) << c.name;
    EXPECT_EQ(parts.eventId, c.eventId) << c.name;
  }
}

TEST(FileNameTest, StemAndExtensionSplitAtTheLastDot) {
  struct Case {
    const char *name, *stem, *extension;
  };
  for (const Case& c : {Case{"a.b.MOV", "a.b", "MOV"}, Case{"noext", "noext", ""},
                        Case{"trailing.", "trailing", ""}}) {
    EXPECT_EQ(fileStem(c.name), c.stem) << c.name;
    EXPECT_EQ(fileExtension(c.name), c.extension) << c.name;
  }
}

TEST(FileNameTest, EqualsIgnoringCaseFoldsAsciiLettersOnly) {
  EXPECT_TRUE(equalsIgnoringCase("Ts", "tS"));
  EXPECT_FALSE(equalsIgnoringCase("mp4", "mp"));
  EXPECT_FALSE(equalsIgnoringCase("[", "{"));  // 'Z'+1 and 'z'+1
}

}  // namespace
}  // namespace archive::detail
