// Tests of what the real program cannot show: the command table past its end. The
// dispatcher, the help command and the general help run end to end in tests/main_test.cpp.
#include "main/commands.h"

#include <gtest/gtest.h>

namespace {

TEST(CommandTableTest, CommandAtIsNullPastTheEnd) {
  ASSERT_EQ(commandCount(), 3u);
  for (std::size_t i = 0; i < commandCount(); ++i) EXPECT_NE(commandAt(i), nullptr) << i;
  EXPECT_EQ(commandAt(3), nullptr);
  EXPECT_EQ(commandAt(static_cast<std::size_t>(-1)), nullptr);
}

}  // namespace
