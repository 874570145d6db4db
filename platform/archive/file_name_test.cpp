// Tests of file-name parsing: start tokens, calendar checks, prefix, event id, extension.
#include "archive/file_name.h"

#include <gtest/gtest.h>

#include <string>

namespace archive::detail {
namespace {

TEST(CivilDateTest, DaysMatchTheGregorianCalendar) {
  struct Case {
    std::int64_t year;
    unsigned month, day;
    std::int64_t days;
  };
  const Case cases[] = {
      {1970, 1, 1, 0},       {1969, 12, 31, -1},     {2000, 3, 1, 11017},
      {2024, 2, 29, 19782},  {1600, 1, 1, -135140},  {9999, 12, 31, 2932896},
      {2100, 3, 1, 47541},
  };
  for (const Case& c : cases)
    EXPECT_EQ(daysFromCivil(c.year, c.month, c.day), c.days)
        << c.year << "-" << c.month << "-" << c.day;
}

TEST(FileNameTest, ParseFindsTheFirstValidToken) {
  struct Case {
    const char* name;
    bool hasToken;
    std::int64_t start;
    const char* prefix;
    const char* eventId;
  };
  const Case cases[] = {
      {"front_20240301T140509Z.mp4", true, 1709301909, "front", ""},
      {"front_20240301T140509Z_alarm-17.mp4", true, 1709301909, "front", "alarm-17"},
      {"cab_in_20240301T140509Z__x.ts", true, 1709301909, "cab_in", "_x"},
      {"20240301T140509Z.avi", true, 1709301909, "", ""},
      {"front20240301T140509Zlate.mp4", true, 1709301909, "front", "late"},
      {"front_20240301T140509Z", true, 1709301909, "front", ""},
      {"a_20240229T235959Z.mp4", true, 1709251199, "a", ""},    // leap day
      {"a_20000229T000000Z.mp4", true, 951782400, "a", ""},     // leap: divisible by 400
      {"a_19691231T235959Z.mp4", true, -1, "a", ""},            // before the epoch
      {"a_20240230T120000Z.mp4", false, 0, "", ""},             // no 30 February
      {"a_20230229T120000Z.mp4", false, 0, "", ""},             // 2023 is no leap year
      {"a_19000229T120000Z.mp4", false, 0, "", ""},             // nor is 1900
      {"a_20241301T120000Z.mp4", false, 0, "", ""},             // month 13
      {"a_20240001T120000Z.mp4", false, 0, "", ""},             // month 0
      {"a_20240100T120000Z.mp4", false, 0, "", ""},             // day 0
      {"a_20240131T240000Z.mp4", false, 0, "", ""},             // hour 24
      {"a_20240131T236000Z.mp4", false, 0, "", ""},             // minute 60
      {"a_20240131T235960Z.mp4", false, 0, "", ""},             // no leap second
      {"a_2024031T140509Z.mp4", false, 0, "", ""},              // 7 digits
      {"a_20240301T14059Z.mp4", false, 0, "", ""},              // 5 digits
      {"a_20240301t140509Z.mp4", false, 0, "", ""},             // lower-case t
      {"a_20240301T140509z.mp4", false, 0, "", ""},             // lower-case z
      {"a_20240301T140509.mp4", false, 0, "", ""},              // no Z
      {"a_20240230T120000Z_20240301T140509Z.mp4", true, 1709301909,
       "a_20240230T120000Z", ""},                               // first valid one wins
      {"x.20240301T140509Z", false, 0, "", ""},                 // token inside extension
      {"CAM0001.MP4", false, 0, "", ""},
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
    const char* name;
    const char* stem;
    const char* extension;
  };
  const Case cases[] = {
      {"front_20240301T140509Z.mp4", "front_20240301T140509Z", "mp4"},
      {"a.b.MOV", "a.b", "MOV"},
      {"noext", "noext", ""},
      {"trailing.", "trailing", ""},
      {"", "", ""},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(fileStem(c.name), c.stem) << c.name;
    EXPECT_EQ(fileExtension(c.name), c.extension) << c.name;
  }
}

TEST(FileNameTest, EqualsIgnoringCaseFoldsAsciiOnly) {
  EXPECT_TRUE(equalsIgnoringCase("MP4", "mp4"));
  EXPECT_TRUE(equalsIgnoringCase("Ts", "tS"));
  EXPECT_FALSE(equalsIgnoringCase("mp4", "mp"));
  EXPECT_FALSE(equalsIgnoringCase("mp4", "mp5"));
  EXPECT_FALSE(equalsIgnoringCase("\xc3\x89", "\xc3\xa9"));  // É vs é: not ASCII
  EXPECT_FALSE(equalsIgnoringCase("[", "{"));                  // 'Z'+1 and 'z'+1
}

}  // namespace
}  // namespace archive::detail
