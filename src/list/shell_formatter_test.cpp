// Tests of the text formatter: duration and time texts at their edges, and columns of a
// file gathered from a real archive trash.
#include "list/shell_formatter.h"

#include <cstdlib>
#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "list/json_formatter.h"
#include "test_support.h"

namespace {

using testing_support::TempDir;
using testing_support::addRecording;

TEST(DurationTextTest, MinutesBelowAnHourHoursFromThere) {
  const struct {
    long long seconds;
    const char* text;
  } cases[] = {
      {0, "0:00"},       {1, "0:01"},         {59, "0:59"},         {60, "1:00"},
      {61, "1:01"},      {599, "9:59"},       {600, "10:00"},       {3599, "59:59"},
      {3600, "1:00:00"}, {3601, "1:00:01"},   {3660, "1:01:00"},    {35999, "9:59:59"},
      {36000, "10:00:00"}, {86400, "24:00:00"}, {360000, "100:00:00"},
      // Divisions truncate toward zero, so a negative remainder keeps its sign.
      {-5, "0:-5"},      {-65, "-1:-5"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.text, durationText(c.seconds)) << c.seconds;
}

// Sets TZ for one scope and puts the previous zone back afterwards.
class ZoneScope {
 public:
  explicit ZoneScope(const char* zone) {
    const char* old = std::getenv("TZ");
    hadOld_ = old != nullptr;
    if (hadOld_) old_ = old;
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ZoneScope() {
    if (hadOld_) {
      setenv("TZ", old_.c_str(), 1);
    } else {
      unsetenv("TZ");
    }
    tzset();
  }

 private:
  bool hadOld_;
  std::string old_;
};

TEST(LocalTimeTextTest, FollowsTheZoneAndLeavesUnrepresentableYearsEmpty) {
  const struct {
    const char* zone;
    long long seconds;
    const char* text;
    const char* iso;
  } cases[] = {
      {"UTC0", 0, "1970-01-01 00:00:00", "1970-01-01T00:00:00+0000"},
      {"UTC0", 1709301909, "2024-03-01 14:05:09", "2024-03-01T14:05:09+0000"},
      {"UTC0", -1, "1969-12-31 23:59:59", "1969-12-31T23:59:59+0000"},
      {"<-03>3", 0, "1969-12-31 21:00:00", "1969-12-31T21:00:00-0300"},
      {"<+0530>-5:30", 1709301909, "2024-03-01 19:35:09", "2024-03-01T19:35:09+0530"},
      {"EST5EDT,M3.2.0,M11.1.0", 1720000000, "2024-07-03 05:46:40",
       "2024-07-03T05:46:40-0400"},
      {"UTC0", 253402300799LL, "9999-12-31 23:59:59", "9999-12-31T23:59:59+0000"},
      // Year 10000 needs one character more than either buffer holds.
      {"UTC0", 253402300800LL, "", ""},
  };
  for (const auto& c : cases) {
    ZoneScope zone(c.zone);
    EXPECT_EQ(c.text, localTimeText(c.seconds)) << c.zone << " " << c.seconds;
    EXPECT_EQ(c.iso, isoLocalTimeText(c.seconds)) << c.zone << " " << c.seconds;
  }
}

// Lists the trash of `dir`, a recorder "7" labelled "Front door", with `formatter`.
std::string listTrash(const std::string& dir, const std::string& format, bool quote) {
  archive::Archive recorder("7", "VGA", "Front door", dir, "");
  ShellBrowseFilesFormatter formatter(format, quote);
  std::ostringstream out;
  browseFiles(std::vector<archive::Trash const*>{&recorder.trash}, BrowseOptions(), out,
              &formatter);
  return out.str();
}

TEST(ShellFormatterTest, ColumnsOfADeletedQueuedFile) {
  TempDir tmp;
  addRecording(tmp.path(), "front_20240301T150000Z.mp4", 1234, {"afu"}, true);
  const struct {
    const char* format;
    bool quote;
    const char* line;
  } cases[] = {
      // The short flags never show the trash and queue places.
      {"aA", false, "-----\t---TA\n"},
      {"e", true, "\"\"\n"},  // no event id, still quoted
      {"rRr", true, "7\t\"Front door\"\t7\n"},
      {"SxS", true, "1234\t\t1234\n"},
      {"", true, "\n"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.line, listTrash(tmp.path(), c.format, c.quote))
        << "format '" << c.format << "' quote " << c.quote;
  }
}

}  // namespace
