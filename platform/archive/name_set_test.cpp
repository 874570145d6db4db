// Tests of the marker name set: growth past many rehashes, near misses, odd names, bits.
#include "archive/detail/name_set.h"

#include <gtest/gtest.h>

#include <string>

namespace archive::detail {
namespace {

TEST(NameSetTest, FindsEveryNameWithTheUnionOfItsBitsAndNoNearMiss) {
  NameSet set;
  EXPECT_EQ(set.bitsOf("x.mp4"), 0);
  const std::string odd("a\0b", 3), longName(300, 'x');
  set.insert(odd, 1);
  set.insert(longName, 1);
  set.insert("x.mp4", 4);
  for (int i = 0; i < 20000; ++i) set.insert("front_" + std::to_string(i) + ".mp4", 2);
  set.insert("x.mp4", 8);
  EXPECT_EQ(set.size(), 20003u);
  for (int i = 0; i < 20000; ++i)
    ASSERT_EQ(set.bitsOf("front_" + std::to_string(i) + ".mp4"), 2) << i;
  EXPECT_EQ(set.bitsOf("x.mp4"), 12);
  EXPECT_TRUE(set.contains(odd) && set.contains(longName));
  for (const std::string& miss : {std::string("front_20000.mp4"), std::string("front_7.MP4"),
                                  std::string("a"), std::string(299, 'x')})
    EXPECT_FALSE(set.contains(miss)) << miss;
}

}  // namespace
}  // namespace archive::detail
