// Tests of the command-line walk and of the checks on the whole command line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "popts/popts.h"
#include "popts/test_util.h"

namespace popts {
namespace {

using popts_test::joined;
using popts_test::parseWords;

const char kOk[] = "no error";

TEST(OptParserWalkTest, EveryWordKind) {
  struct Case {
    std::vector<std::string> words;
    bool ignoreUnknown;
    std::string error;
    std::size_t quiet;  // counts
    std::size_t json;
    unsigned long limit;
    std::vector<std::string> ids;
  } cases[] = {
      // Grouped short options; a value option takes the next word, never the rest of its own.
      {{"-qj"}, true, kOk, 1, 1, 10, {}},
      {{"-lq", "5"}, true, kOk, 1, 0, 5, {}},
      {{"--limit", "7", "1", "2"}, true, kOk, 0, 0, 7, {"1", "2"}},
      {{"-l5", "7"}, false, "Unknown option: -5", 0, 0, 7, {}},
      // After "--" every word is positional; an empty word is positional too.
      {{"", "--", "-q", "--", "-", "--json"}, true, kOk, 0, 0, 10, {"", "-q", "--", "-", "--json"}},
      {{"1", "-", "2"}, true, "Bad option:-", 0, 0, 10, {"1"}},
      // Unknown options, dropped without their next word, or refused.
      {{"--frobnicate", "x"}, true, kOk, 0, 0, 10, {"x"}},
      {{"--limit=5"}, true, kOk, 0, 0, 10, {}},
      {{"--Limit", "5"}, true, kOk, 0, 0, 10, {"5"}},
      {{"-zq", "-Q"}, true, kOk, 1, 0, 10, {}},
      {{"-qz"}, false, "Unknown option: -z", 1, 0, 10, {}},
      {{"--limit=5"}, false, "Unknown option: --limit=5", 0, 0, 10, {}},
      // A limit of 1 lets a named option through twice; the later value wins.
      {{"-l", "1", "-l", "2"}, true, kOk, 0, 0, 2, {}},
      {{"-l", "1", "-l", "2", "--limit", "3"}, true, "Too many occurrences of --limit (-l)", 0,
       0, 2, {}},
  };
  for (const Case& c : cases) {
    OptParser parser;
    SwitchValue quiet(parser, 'q', "quiet", "Quiet", 1, false);
    SwitchValue json(parser, 'j', "json", "JSON", 1, false);
    OptionValue<unsigned long> limit(parser, 'l', "limit", "Limit", 1, false, 10);
    MultiOptionValue<std::string> ids(parser, 0, "", "Recorders identifiers", 128, false);
    const std::string name = joined(c.words) + (c.ignoreUnknown ? " ignoring" : " strict");
    EXPECT_EQ(parseWords(parser, c.words, c.ignoreUnknown).error, c.error) << name;
    EXPECT_EQ(quiet.count, c.quiet) << name;
    EXPECT_EQ(json.count, c.json) << name;
    EXPECT_EQ(limit.value(), c.limit) << name;
    EXPECT_EQ(ids.values(), c.ids) << name;
  }
}

TEST(OptParserPositionalTest, TakesExactlyTheLimitAndBlamesTheOptionForOneMore) {
  std::vector<std::string> words;
  for (int i = 1; i <= 129; ++i) words.push_back(std::to_string(i));
  OptParser parser;
  MultiOptionValue<std::string> ids(parser, 0, "", "Recorders identifiers", 128, false);
  const std::vector<std::string> first128(words.begin(), words.end() - 1);
  EXPECT_EQ(parseWords(parser, first128).error, kOk);
  EXPECT_EQ(ids.values(), first128);

  OptParser again;
  MultiOptionValue<std::string> more(again, 0, "", "Recorders identifiers", 128, false);
  const popts_test::Outcome outcome = parseWords(again, words);
  EXPECT_EQ(outcome.error, "Too many occurrences of Recorders identifiers");
  EXPECT_EQ(outcome.option, &more);
  EXPECT_EQ(more.count, 128u);
}

TEST(OptParserPositionalTest, FillsPositionalOptionsInRegistrationOrder) {
  struct Case {
    std::vector<std::string> words;
    std::string error;
    std::vector<std::string> first;
    std::vector<std::string> second;
  } cases[] = {
      {{"a", "-q", "b", "c"}, kOk, {"a"}, {"b", "c"}},
      {{"a", "b", "c", "d"}, "Too many occurrences of unnamed", {"a"}, {"b", "c"}},
  };
  for (const Case& c : cases) {
    OptParser parser;
    MultiOptionValue<std::string> first(parser, 0, "", "Source", 1, false);
    SwitchValue quiet(parser, 'q', "quiet", "Quiet", 1, false);
    MultiOptionValue<std::string> second(parser, 0, "", "", 2, false);
    EXPECT_EQ(parseWords(parser, c.words).error, c.error) << joined(c.words);
    EXPECT_EQ(first.values(), c.first) << joined(c.words);
    EXPECT_EQ(second.values(), c.second) << joined(c.words);
  }
}

TEST(OptParserPositionalTest, WithoutPositionalOptionAWordIsUnexpected) {
  OptParser parser;
  SwitchValue quiet(parser, 'q', "quiet", "Quiet", 1, false);
  EXPECT_EQ(parseWords(parser, {"-q", "x"}).error, "Unexpected argument: x");
}

// Options shaped like a channel selection: a required path or required recorder
// identifiers (one of the two), a prefix that needs the path, and exclusive views.
TEST(OptParserCheckTest, AppliesTheRulesInRegistrationOrder) {
  struct Case {
    std::vector<std::string> words;
    std::string error;
    const char* about;  // long name of the option the error is about; "" for none
  } cases[] = {
      {{}, "Missed required option: --path (-p)", "path"},
      {{"1"}, kOk, ""},
      {{"-p", "/x"}, kOk, ""},
      {{"-p", "/x", "1"}, "Option --path (-p) is mutually exclusive with Recorders identifiers",
       "path"},
      // The earlier-registered option is named first whichever was typed first.
      {{"-t", "-a", "1"}, "Option --afu (-a) is mutually exclusive with --trash (-t)", "afu"},
      // A dependency names the missing option but is about the one that needs it.
      {{"--prefix", "c", "1"}, "Missed required option: --path (-p)", "prefix"},
      // For one option, exclusion is checked before dependency.
      {{"--prefix", "c", "-t", "1"}, "Option --prefix is mutually exclusive with --trash (-t)",
       "prefix"},
      // An earlier option's rule wins; only a required excluded option excuses a missing one.
      {{"-a", "-t"}, "Missed required option: --path (-p)", "path"},
      // Help skips every rule.
      {{"-a", "-t", "-h", "--prefix", "c"}, kOk, ""},
  };
  for (const Case& c : cases) {
    OptParser parser;
    OptionValue<std::string> path(parser, 'p', "path", "Path", 1, true);
    OptionValue<std::string> prefix(parser, 0, "prefix", "Prefix", 1, false);
    SwitchValue afu(parser, 'a', "afu", "AFU", 1, false);
    SwitchValue trash(parser, 't', "trash", "Trash", 1, false);
    MultiOptionValue<std::string> ids(parser, 0, "", "Recorders identifiers", 128, true);
    path.excludes(ids);
    path.excludes(afu);
    prefix.dependsOn(path);
    prefix.excludes(trash);
    trash.excludes(afu);
    const popts_test::Outcome outcome = parseWords(parser, c.words, false);
    EXPECT_EQ(outcome.error, c.error) << joined(c.words);
    EXPECT_EQ(outcome.option, c.about[0] ? parser.findLong(c.about) : nullptr) << joined(c.words);
    EXPECT_EQ(outcome.value, "") << joined(c.words);
  }
}

}  // namespace
}  // namespace popts
