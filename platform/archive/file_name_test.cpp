// Tests of file-name parsing: start tokens, calendar checks, prefix, event id, extension.
#include "archive/detail/file_name.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

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
      {"a_20000229T000000Z.mp4", 951782400, "a", ""},     // leap: divisible by 400
      {"a_16000101T000000Z.mp4", -11676096000, "a", ""},  // long before the epoch
      {"a_20231231T235959Z.mp4", 1704067199, "a", ""},    // the last second of a year
      {"a_20240001T120000Z.mp4", 0, "", ""},              // month 0
      {"a_20240100T120000Z.mp4", 0, "", ""},              // day 0
      {"a_20241301T120000Z.mp4", 0, "", ""},              // month 13
      {"a_20240131T240000Z.mp4", 0, "", ""},              // hour 24
      {"a_20240131T235960Z.mp4", 0, "", ""},              // no leap second
      {"a_20240131T236000Z.mp4", 0, "", ""},              // minute 60
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

// Both edges of every month's length, in leap, common and century years: the last day
// is a token (its time written back gives the same token), the day after is none.
TEST(FileNameTest, EveryMonthEndsOnItsLastDay) {
  const unsigned kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (unsigned year : {1900u, 2000u, 2023u, 2024u, 2100u}) {
    for (unsigned month = 1; month <= 12; ++month) {
      const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
      const unsigned last = kDays[month - 1] + (month == 2 && leap ? 1 : 0);
      for (unsigned day : {last, last + 1}) {
        char token[17] = {};
        std::snprintf(token, sizeof token, "%04u%02u%02uT235959Z", year, month, day);
        const NameParts parts = parseFileName(std::string("a_") + token + ".ts");
        EXPECT_EQ(parts.hasToken, day == last) << token;
        char back[17] = {};
        if (parts.hasToken) {
          EXPECT_TRUE(formatStartToken(parts.startTime, back));
          EXPECT_STREQ(back, token);
        }
      }
    }
  }
}

}  // namespace
}  // namespace archive::detail
