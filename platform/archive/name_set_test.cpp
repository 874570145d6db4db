// Tests of the marker name set: growth past many rehashes, near misses, odd names.
#include "archive/detail/name_set.h"

#include <gtest/gtest.h>

#include <string>

namespace archive::detail {
namespace {

TEST(NameSetTest, FindsEveryInsertedNameAcrossGrowthAndNoNearMiss) {
  NameSet set;
  EXPECT_FALSE(set.contains("a"));
  for (int i = 0; i < 20000; ++i) set.insert("front_" + std::to_string(i) + ".mp4");
  set.insert("front_7.mp4");  // again
  EXPECT_EQ(set.size(), 20000u);
  for (int i = 0; i < 20000; ++i)
    ASSERT_TRUE(set.contains("front_" + std::to_string(i) + ".mp4")) << i;
  for (const char* miss : {"front_20000.mp4", "front_7.MP4", "front_7.mp", "front_7.mp4 ",
                           "", "ront_7.mp4"})
    EXPECT_FALSE(set.contains(miss)) << miss;
}

TEST(NameSetTest, KeepsEmbeddedAndHighBytesAndLongNames) {
  NameSet set;
  const std::string odd("a\0b", 3), high = "\xff\xfe.ts", longName(300, 'x');
  set.insert(odd);
  set.insert(high);
  set.insert(longName);
  EXPECT_TRUE(set.contains(odd));
  EXPECT_FALSE(set.contains("a"));
  EXPECT_TRUE(set.contains(high));
  EXPECT_TRUE(set.contains(longName));
  EXPECT_FALSE(set.contains(std::string(299, 'x')));
}

TEST(NameSetTest, BitsOfANameAreTheUnionOfItsInsertsAndZeroWhenAbsent) {
  NameSet set;
  EXPECT_EQ(set.bitsOf("x.mp4"), 0);
  set.insert("x.mp4", 4);
  set.insert("y.mp4", 1);
  set.insert("x.mp4", 8);
  for (int i = 0; i < 1000; ++i) set.insert("z" + std::to_string(i), 2);  // rehashes
  EXPECT_EQ(set.bitsOf("x.mp4"), 12);
  EXPECT_EQ(set.bitsOf("y.mp4"), 1);
  EXPECT_EQ(set.bitsOf("z999"), 2);
  EXPECT_EQ(set.bitsOf("x.mp"), 0);
  EXPECT_EQ(set.size(), 1002u);
}

}  // namespace
}  // namespace archive::detail
