// Tests of the descriptors themselves: names in messages, switches, repeatable options,
// registration and the option list of a help screen.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "popts/popts.h"
#include "popts/test_util.h"

namespace popts {
namespace {

using popts_test::errorOf;
using popts_test::parseWords;

TEST(DisplayNameTest, FollowsTheFirstRuleThatApplies) {
  struct Case {
    char shortName;
    const char* longName;
    const char* description;
    const char* expected;
  } cases[] = {
      {'l', "limit", "Limit", "--limit (-l)"},
      {'x', "", "Something", "-x"},
      {0, "json", "Output in JSON format", "--json"},
      {0, "", "Recorders identifiers", "Recorders identifiers"},
      {0, "", "", "unnamed"},
      {'x', "", "", "-x"},
  };
  for (const Case& c : cases) {
    bool flag = false;
    const Switch option(c.shortName, c.longName, c.description, 1, false, flag);
    EXPECT_EQ(option.displayName(), c.expected) << c.expected;
  }
}

TEST(SwitchTest, OnlyTheFirstOccurrenceInvertsTheFlag) {
  struct Case {
    bool initial;
    std::vector<std::string> words;
    bool expected;
    std::size_t count;
  } cases[] = {
      {false, {}, false, 0},    {false, {"-q"}, true, 1},       {false, {"-q", "-q"}, true, 2},
      {true, {"-q"}, false, 1}, {true, {"-q", "-q"}, false, 2}, {true, {"--quiet", "-q"}, false, 2},
  };
  for (const Case& c : cases) {
    OptParser parser;
    bool flag = c.initial;
    Switch quiet(parser, 'q', "quiet", "Quiet", 1, false, flag);
    EXPECT_EQ(errorOf(parser, c.words), "no error") << popts_test::joined(c.words);
    EXPECT_EQ(flag, c.expected) << c.initial << " " << popts_test::joined(c.words);
    EXPECT_EQ(quiet.count, c.count) << popts_test::joined(c.words);
  }
}

TEST(MultiOptionTest, CollectsEveryValueInCommandLineOrder) {
  OptParser parser;
  std::vector<std::string> extensions;
  MultiOption<std::string, std::back_insert_iterator<std::vector<std::string>>> extension(
      parser, 'e', "ext", "Extension", 10, false, std::back_inserter(extensions));
  MultiOptionValue<std::string> words(parser, 0, "", "Words", 10, false);
  parseWords(parser, {"-e", "mp4", "a", "--ext", "", "b", "-e", "-x"});
  EXPECT_EQ(extensions, (std::vector<std::string>{"mp4", "", "-x"}));
  EXPECT_EQ(extension.count, 3u);
  EXPECT_EQ(words.values(), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(words.count, 2u);
}

TEST(OptParserTest, RegistersHelpFirstAndTheRestInOrder) {
  OptParser parser;
  SwitchValue quiet(parser, 'q', "quiet", "Quiet", 1, false);
  bool flag = false;
  Switch json(0, "json", "JSON", 1, false, flag);
  Switch late(0, "late", "Late", 1, false, flag);
  EXPECT_EQ(&parser.add(json).add(late), &parser);
  const std::vector<Opt*> expected{&parser.help, &quiet, &json, &late};
  EXPECT_EQ(parser.options, expected);
  EXPECT_EQ(parser.help.displayName(), "--help (-h)");
  EXPECT_EQ(parser.help.maxCount, 1u);
  EXPECT_FALSE(parser.help.required);
}

TEST(OptParserTest, LookupFindsTheEarliestExactMatch) {
  OptParser parser;
  SwitchValue first(parser, 'a', "all", "First", 1, false);
  SwitchValue second(parser, 'a', "all", "Second", 1, false);
  SwitchValue other(parser, 'b', "Beta", "Other", 1, false);
  EXPECT_EQ(parser.findShort('a'), &first);
  EXPECT_EQ(parser.findLong("all"), &first);
  EXPECT_EQ(parser.findShort('h'), &parser.help);
  EXPECT_EQ(parser.findLong("help"), &parser.help);
  EXPECT_EQ(parser.findLong("Beta"), &other);
  EXPECT_EQ(parser.findLong("beta"), nullptr);
  EXPECT_EQ(parser.findLong("al"), nullptr);
  EXPECT_EQ(parser.findLong("all2"), nullptr);
  EXPECT_EQ(parser.findShort('A'), nullptr);
  EXPECT_EQ(parser.findShort('c'), nullptr);
}

std::string usageOf(const OptParser& parser) {
  std::ostringstream out;
  parser.printUsage(out);
  return out.str();
}

TEST(UsageTest, ListsNamedOptionsWithADescriptionInRegistrationOrder) {
  OptParser parser;
  SwitchValue zulu(parser, 'z', "zulu", "Last letter", 1, false);
  SwitchValue json(parser, 0, "json", "Output in JSON format", 1, false);
  SwitchValue hidden(parser, 'd', "debug", "", 1, false);
  OptionValue<std::string> format(parser, 'f', "format", "Columns", 1, false);
  SwitchValue shortOnly(parser, 'x', "", "Short only", 1, false);
  MultiOptionValue<std::string> ids(parser, 0, "", "Recorders identifiers", 128, false);
  SwitchValue alpha(parser, 'a', "alpha", "First letter", 1, false);
  EXPECT_EQ(usageOf(parser),
            "  -h,--help\tShow this message\n"
            "  -z,--zulu\tLast letter\n"
            "  --json\tOutput in JSON format\n"
            "  -f,--format\tColumns\n"
            "  -x\tShort only\n"
            "  -a,--alpha\tFirst letter\n");
  // An option left out of the list is still parsed.
  parseWords(parser, {"-d"});
  EXPECT_TRUE(hidden.value());
}

TEST(UsageTest, AParserWithoutOptionsStillListsHelp) {
  OptParser parser;
  EXPECT_EQ(usageOf(parser), "  -h,--help\tShow this message\n");
}

TEST(UsageTest, DefaultStreamIsStandardOutput) {
  OptParser parser;
  SwitchValue json(parser, 0, "json", "Output in JSON format", 1, false);
  testing::internal::CaptureStdout();
  parser.printUsage();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), usageOf(parser));
}

}  // namespace
}  // namespace popts
