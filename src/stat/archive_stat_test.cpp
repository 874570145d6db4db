// Tests of the printed statistics for counts and sizes no folder produces; the counting
// itself is covered end to end in tests/stat_test.cpp.
#include "stat/archive_stat.h"

#include <cstdint>
#include <limits>
#include <sstream>

#include <gtest/gtest.h>

namespace {

TEST(PrintArchiveStatTest, CountsAboveTwoToTheSixtyThirdAreUnsignedInTextSignedInJson) {
  ArchiveStat s;
  s.filesCount = (std::uint64_t{1} << 63) + 1;
  s.filesSize = std::numeric_limits<std::int64_t>::min();
  s.deletedCount = std::numeric_limits<std::uint64_t>::max();
  s.deletedSize = -7;
  const struct {
    StatSource source;
    bool json;
    const char* out;
  } cases[] = {
      {StatSource::archives, false, "9223372036854775809\t-9223372036854775808\n0\t0\n"},
      {StatSource::archives, true,
       "{\"afu\":{\"count\":0,\"size\":0},"
       "\"files\":{\"count\":-9223372036854775807,\"size\":-9223372036854775808}}\n"},
      {StatSource::trash, false, "18446744073709551615\t-7\n"},
      {StatSource::trash, true, "{\"count\":-1,\"size\":-7}\n"},
  };
  for (const auto& c : cases) {
    std::ostringstream out;
    printArchiveStat(out, s, c.source, c.json);
    EXPECT_EQ(c.out, out.str()) << "source " << static_cast<int>(c.source) << " json " << c.json;
  }
}

}  // namespace
