// Tests of the local time texts of the text and JSON formatters at the end of their
// buffers, a year no recording reaches; every column is covered end to end in
// tests/list_test.cpp.
#include "list/shell_formatter.h"

#include <cstdlib>
#include <ctime>

#include <gtest/gtest.h>

#include "list/json_formatter.h"

namespace {

TEST(LocalTimeTextTest, YearTenThousandLeavesTheColumnEmptyRatherThanCut) {
  setenv("TZ", "UTC0", 1);  // no other test of this binary reads the local zone
  tzset();
  EXPECT_EQ("9999-12-31 23:59:59", localTimeText(253402300799LL));
  EXPECT_EQ("9999-12-31T23:59:59+0000", isoLocalTimeText(253402300799LL));
  EXPECT_EQ("", localTimeText(253402300800LL));
  EXPECT_EQ("", isoLocalTimeText(253402300800LL));
}

}  // namespace
