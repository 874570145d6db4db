// Tests of the descriptors themselves: names in messages, switches, repeatable options
// and the option list of a help screen.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "popts/popts.h"
#include "popts/test_util.h"

namespace popts {
namespace {

using popts_test::joined;
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
  } cases[] = {{false, {"-q"}, true}, {true, {"-q"}, false}, {true, {"--quiet", "-q"}, false}};
  for (const Case& c : cases) {
    OptParser parser;
    bool flag = c.initial;
    Switch quiet(parser, 'q', "quiet", "Quiet", 1, false, flag);
    EXPECT_EQ(parseWords(parser, c.words).error, "no error") << joined(c.words);
    EXPECT_EQ(flag, c.expected) << c.initial << " " << joined(c.words);
    EXPECT_EQ(quiet.count, c.words.size()) << joined(c.words);
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
}

// Help comes first; options without a description and positional options are left out,
// though still parsed.
TEST(UsageTest, ListsNamedOptionsWithADescriptionInRegistrationOrder) {
  OptParser parser;
  SwitchValue zulu(parser, 'z', "zulu", "Last letter", 1, false);
  SwitchValue json(parser, 0, "json", "Output in JSON format", 1, false);
  SwitchValue hidden(parser, 'd', "debug", "", 1, false);
  MultiOptionValue<std::string> ids(parser, 0, "", "Recorders identifiers", 128, false);
  SwitchValue shortOnly(parser, 'x', "", "Short only", 1, false);
  SwitchValue alpha('a', "alpha", "First letter", 1, false);
  EXPECT_EQ(&parser.add(alpha), &parser);
  std::ostringstream out;
  parser.printUsage(out);
  EXPECT_EQ(out.str(),
            "  -h,--help\tShow this message\n"
            "  -z,--zulu\tLast letter\n"
            "  --json\tOutput in JSON format\n"
            "  -x\tShort only\n"
            "  -a,--alpha\tFirst letter\n");
  parseWords(parser, {"-d", "id"});
  EXPECT_TRUE(hidden.value());
  EXPECT_EQ(ids.values(), std::vector<std::string>{"id"});
}

}  // namespace
}  // namespace popts
