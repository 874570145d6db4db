// Tests of the value parsers and of how value options report a bad or missing value.
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <utility>
#include <vector>

#include "popts/popts.h"
#include "popts/test_util.h"

namespace popts {
namespace {

using popts_test::errorOf;
using popts_test::parseWords;

TEST(UnsignedLongParserTest, ReadsBaseZeroNumbersOfTheWholeText) {
  struct Case {
    const char* text;
    bool ok;
    unsigned long value;
  } cases[] = {
      {"", true, 0},      {"0", true, 0},          {"42", true, 42}, {"0x1F", true, 31},
      {"0X10", true, 16}, {"017", true, 15},       {"010", true, 8}, {" 7", true, 7},
      {"+9", true, 9},    {"-1", true, ULONG_MAX}, {"08", false, 0}, {"12ab", false, 0},
      {"12 ", false, 0},  {"abc", false, 0},       {"0x", false, 0}, {"1.5", false, 0},
  };
  for (const Case& c : cases) {
    unsigned long out = 12345;
    EXPECT_EQ(OptValueParser<unsigned long>::parse(c.text, out), c.ok) << "'" << c.text << "'";
    if (c.ok) {
      EXPECT_EQ(out, c.value) << "'" << c.text << "'";
    }
  }
}

TEST(UnsignedIntParserTest, KeepsTheLow32Bits) {
  struct Case {
    const char* text;
    bool ok;
    unsigned int value;
  } cases[] = {
      {"0x1F", true, 31},       {"-1", true, 4294967295u},
      {"0x100000001", true, 1}, {"4294967295", true, 4294967295u},
      {"08", false, 0},         {"5x", false, 0},
  };
  for (const Case& c : cases) {
    unsigned int out = 777;
    EXPECT_EQ(OptValueParser<unsigned int>::parse(c.text, out), c.ok) << "'" << c.text << "'";
    if (c.ok) {
      EXPECT_EQ(out, c.value) << "'" << c.text << "'";
    }
  }
}

TEST(IntParserTest, ReadsSignedBaseZeroNumbers) {
  struct Case {
    const char* text;
    bool ok;
    int value;
  } cases[] = {
      {"", true, 0},
      {"-5", true, -5},
      {"-0x10", true, -16},
      {"017", true, 15},
      {"0x7fffffff", true, 2147483647},
      {"0x100000002", true, 2},
      {"1.5", false, 0},
      {"09", false, 0},
      {"-", false, 0},
  };
  for (const Case& c : cases) {
    int out = 777;
    EXPECT_EQ(OptValueParser<int>::parse(c.text, out), c.ok) << "'" << c.text << "'";
    if (c.ok) {
      EXPECT_EQ(out, c.value) << "'" << c.text << "'";
    }
  }
}

TEST(BoolParserTest, AcceptsTheFlagWordsInAnyCase) {
  struct Case {
    const char* text;
    bool ok;
    bool value;
  } cases[] = {
      {"1", true, true},      {"y", true, true},      {"Yes", true, true},    {"ON", true, true},
      {"true", true, true},   {"0", true, false},     {"N", true, false},     {"no", true, false},
      {"Off", true, false},   {"FALSE", true, false}, {"", false, false},     {"2", false, false},
      {"yess", false, false}, {"t", false, false},    {" yes", false, false},
  };
  for (const Case& c : cases) {
    for (bool before : {false, true}) {
      bool out = before;
      EXPECT_EQ(OptValueParser<bool>::parse(c.text, out), c.ok) << "'" << c.text << "'";
      // A refused word leaves the destination as it was.
      EXPECT_EQ(out, c.ok ? c.value : before) << "'" << c.text << "'";
    }
  }
}

TEST(SortOrderParserTest, AcceptsTheExactWordsOnly) {
  using archive::BrowseSortOrder;
  struct Case {
    const char* text;
    bool ok;
    int value;
  } cases[] = {
      {"t", true, 1},     {"time", true, 1},   {"rt", true, 2}, {"rtime", true, 2},
      {"Time", false, 0}, {"TIME", false, 0},  {"T", false, 0}, {"RTime", false, 0},
      {"", false, 0},     {"times", false, 0}, {"r", false, 0}, {"1", false, 0},
      {"none", false, 0},
  };
  for (const Case& c : cases) {
    BrowseSortOrder out = BrowseSortOrder::none;
    EXPECT_EQ(OptValueParser<BrowseSortOrder>::parse(c.text, out), c.ok) << "'" << c.text << "'";
    if (c.ok) {
      EXPECT_EQ(static_cast<int>(out), c.value) << "'" << c.text << "'";
    }
  }
}

TEST(PairParserTest, NeedsTwoCommaSeparatedNumbers) {
  using PairParser = OptValueParser<std::pair<long, long>>;
  struct Case {
    const char* text;
    bool ok;
    long first;
    long second;
  } cases[] = {
      {"5,7", true, 5, 7},     {"5, 7", true, 5, 7}, {"5,7xyz", true, 5, 7}, {" 5,7", true, 5, 7},
      {"-3,-4", true, -3, -4}, {"5", false, 0, 0},   {"5 ,7", false, 0, 0},  {"5,", false, 0, 0},
      {",7", false, 0, 0},     {"", false, 0, 0},    {"a,7", false, 0, 0},
  };
  for (const Case& c : cases) {
    std::pair<long, long> out{-100, -100};
    EXPECT_EQ(PairParser::parse(c.text, out), c.ok) << "'" << c.text << "'";
    if (c.ok) {
      EXPECT_EQ(out, std::make_pair(c.first, c.second)) << "'" << c.text << "'";
    }
  }
}

TEST(StringParserTest, TakesAnyTextAsItStands) {
  for (const char* text : {"", "--json", " a b ", "-"}) {
    std::string out = "before";
    EXPECT_TRUE(OptValueParser<std::string>::parse(text, out)) << "'" << text << "'";
    EXPECT_EQ(out, text);
  }
}

// A list-like option set: a limit with a default and a switch.
struct LimitCommand {
  OptParser parser;
  unsigned long limit = 10;
  Option<unsigned long> limitOption{parser, 'l', "limit", "Limit", 1, false, limit};
  SwitchValue json{parser, 0, "json", "JSON", 1, false};
};

TEST(ValueOptionTest, ReportsTheOffendingTextAndTheOption) {
  struct Case {
    std::vector<std::string> words;
    std::string message;
    std::string value;
  } cases[] = {
      {{"--limit", "08"}, "Invalid value '08' for --limit (-l)", "08"},
      {{"-l", "12ab"}, "Invalid value '12ab' for --limit (-l)", "12ab"},
      {{"--limit"}, "Invalid value 'empty' for --limit (-l)", "empty"},
      {{"-l"}, "Invalid value 'empty' for --limit (-l)", "empty"},
      {{"-jl"}, "Invalid value 'empty' for --limit (-l)", "empty"},
      // The value is the next word whatever it looks like.
      {{"--limit", "--json"}, "Invalid value '--json' for --limit (-l)", "--json"},
  };
  for (const Case& c : cases) {
    LimitCommand command;
    try {
      parseWords(command.parser, c.words);
      ADD_FAILURE() << popts_test::joined(c.words) << " was accepted";
    } catch (const OptValueException& e) {
      EXPECT_EQ(e.message, c.message) << popts_test::joined(c.words);
      EXPECT_EQ(e.value, c.value) << popts_test::joined(c.words);
      EXPECT_EQ(e.option, &command.limitOption) << popts_test::joined(c.words);
      EXPECT_EQ(command.limitOption.count, 0u) << popts_test::joined(c.words);
    }
  }
}

TEST(ValueOptionTest, StoresTheValueAndKeepsTheDefaultWhenAbsent) {
  struct Case {
    std::vector<std::string> words;
    unsigned long limit;
    std::size_t count;
  } cases[] = {
      {{}, 10, 0},
      {{"--limit", ""}, 0, 1},
      {{"-l", "0x1F"}, 31, 1},
      {{"-l", "017"}, 15, 1},
      {{"-l", "-1"}, ULONG_MAX, 1},
      {{"-l", "1", "--limit", "2"}, 2, 2},  // the later value wins
  };
  for (const Case& c : cases) {
    LimitCommand command;
    EXPECT_EQ(errorOf(command.parser, c.words), "no error") << popts_test::joined(c.words);
    EXPECT_EQ(command.limit, c.limit) << popts_test::joined(c.words);
    EXPECT_EQ(command.limitOption.count, c.count) << popts_test::joined(c.words);
  }
}

}  // namespace
}  // namespace popts
