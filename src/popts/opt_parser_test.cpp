// Tests of the command-line walk and of the checks on the whole command line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "popts/popts.h"
#include "popts/test_util.h"

namespace popts {
namespace {

using popts_test::errorOf;
using popts_test::joined;

// Options shaped like the list command's: two switches, a value and recorder identifiers.
struct ListLike {
  OptParser parser;
  SwitchValue quiet{parser, 'q', "quiet", "Quiet", 1, false};
  SwitchValue json{parser, 'j', "json", "JSON", 1, false};
  OptionValue<unsigned long> limit{parser, 'l', "limit", "Limit", 1, false, 10};
  MultiOptionValue<std::string> ids{parser, 0, "", "Recorders identifiers", 128, false};
};

struct WalkCase {
  std::vector<std::string> words;
  bool ignoreUnknown;
  std::string error;  // "no error" when parse returns
  std::size_t quiet;  // counts
  std::size_t json;
  unsigned long limit;
  std::vector<std::string> ids;
};

void checkWalk(const std::vector<WalkCase>& cases) {
  for (const WalkCase& c : cases) {
    ListLike command;
    const std::string name = joined(c.words) + (c.ignoreUnknown ? " ignoring" : " strict");
    EXPECT_EQ(errorOf(command.parser, c.words, c.ignoreUnknown), c.error) << name;
    EXPECT_EQ(command.quiet.count, c.quiet) << name;
    EXPECT_EQ(command.json.count, c.json) << name;
    EXPECT_EQ(command.limit.value(), c.limit) << name;
    EXPECT_EQ(command.ids.values(), c.ids) << name;
  }
}

const char kOk[] = "no error";

TEST(OptParserWalkTest, GroupsShortOptionsAndTakesValuesFromTheNextWord) {
  checkWalk({
      {{"-qj"}, true, kOk, 1, 1, 10, {}},
      {{"-lq", "5"}, true, kOk, 1, 0, 5, {}},
      {{"-ql", "5", "-j"}, true, kOk, 1, 1, 5, {}},
      {{"--limit", "7", "1", "2"}, true, kOk, 0, 0, 7, {"1", "2"}},
      // No attached value: -l5 is -l (taking the next word) followed by an option 5.
      {{"-l5", "7"}, true, kOk, 0, 0, 7, {}},
      {{"-l5", "7"}, false, "Unknown option: -5", 0, 0, 7, {}},
  });
}

TEST(OptParserWalkTest, TerminatorMakesEveryLaterWordPositional) {
  checkWalk({
      {{"--", "-q", "--", "-", "--json"}, true, kOk, 0, 0, 10, {"-q", "--", "-", "--json"}},
      {{"a", "--", "b"}, false, kOk, 0, 0, 10, {"a", "b"}},
      {{"-q", "--"}, false, kOk, 1, 0, 10, {}},
      {{"", "x"}, false, kOk, 0, 0, 10, {"", "x"}},
  });
}

TEST(OptParserWalkTest, LoneDashIsRefusedEvenWhenUnknownOptionsAreIgnored) {
  checkWalk({
      {{"-"}, true, "Bad option:-", 0, 0, 10, {}},
      {{"-q", "-"}, false, "Bad option:-", 1, 0, 10, {}},
      {{"1", "-", "2"}, true, "Bad option:-", 0, 0, 10, {"1"}},
  });
}

TEST(OptParserWalkTest, UnknownOptionsAreDroppedWhenIgnored) {
  checkWalk({
      {{"--frobnicate"}, true, kOk, 0, 0, 10, {}},
      {{"--frobnicate", "x"}, true, kOk, 0, 0, 10, {"x"}},
      {{"--limit=5"}, true, kOk, 0, 0, 10, {}},
      {{"--Limit", "5"}, true, kOk, 0, 0, 10, {"5"}},
      {{"-qz"}, true, kOk, 1, 0, 10, {}},
      {{"-zq", "-Q"}, true, kOk, 1, 0, 10, {}},
  });
}

TEST(OptParserWalkTest, UnknownOptionsAreErrorsWhenNotIgnored) {
  checkWalk({
      {{"-qz"}, false, "Unknown option: -z", 1, 0, 10, {}},
      {{"-zq"}, false, "Unknown option: -z", 0, 0, 10, {}},
      {{"--frobnicate"}, false, "Unknown option: --frobnicate", 0, 0, 10, {}},
      {{"--limit=5"}, false, "Unknown option: --limit=5", 0, 0, 10, {}},
      {{"1", "---x"}, false, "Unknown option: ---x", 0, 0, 10, {"1"}},
  });
}

TEST(OptParserWalkTest, NamedOptionIsRefusedOnlyOnItsThirdOccurrenceOverLimitOne) {
  checkWalk({
      {{"-l", "1", "-l", "2"}, true, kOk, 0, 0, 2, {}},
      {{"-l", "1", "-l", "2", "--limit", "3"},
       true,
       "Too many occurrences of --limit (-l)",
       0,
       0,
       2,
       {}},
      {{"-q", "--quiet"}, true, kOk, 2, 0, 10, {}},
      {{"-qqq"}, true, "Too many occurrences of --quiet (-q)", 2, 0, 10, {}},
      {{"-h", "-h", "-h"}, true, "Too many occurrences of --help (-h)", 0, 0, 10, {}},
  });
}

TEST(OptParserWalkTest, TooManyOccurrencesNamesTheOption) {
  ListLike command;
  try {
    popts_test::parseWords(command.parser, {"-j", "-j", "-j"});
    ADD_FAILURE() << "-j -j -j was accepted";
  } catch (const OptException& e) {
    EXPECT_EQ(e.option, &command.json);
    EXPECT_EQ(e.value, "");
  }
}

std::vector<std::string> numberedWords(int count) {
  std::vector<std::string> words;
  for (int i = 1; i <= count; ++i) words.push_back(std::to_string(i));
  return words;
}

TEST(OptParserPositionalTest, TakesExactlyTheLimitAndRefusesOneMore) {
  for (int count : {127, 128}) {
    ListLike command;
    EXPECT_EQ(errorOf(command.parser, numberedWords(count)), kOk) << count << " words";
    EXPECT_EQ(command.ids.values(), numberedWords(count)) << count << " words";
  }
  ListLike command;
  try {
    popts_test::parseWords(command.parser, numberedWords(129));
    ADD_FAILURE() << "129 words were accepted";
  } catch (const OptException& e) {
    EXPECT_EQ(e.message, "Too many occurrences of Recorders identifiers");
    EXPECT_EQ(e.option, &command.ids);
  }
  EXPECT_EQ(command.ids.count, 128u);
}

TEST(OptParserPositionalTest, FillsPositionalOptionsInRegistrationOrder) {
  struct Case {
    std::vector<std::string> words;
    std::string error;
    std::vector<std::string> first;
    std::vector<std::string> second;
  } cases[] = {
      {{"a"}, kOk, {"a"}, {}},
      {{"a", "-q", "b", "c"}, kOk, {"a"}, {"b", "c"}},
      {{"a", "b", "c", "d"}, "Too many occurrences of unnamed", {"a"}, {"b", "c"}},
  };
  for (const Case& c : cases) {
    OptParser parser;
    MultiOptionValue<std::string> first(parser, 0, "", "Source", 1, false);
    SwitchValue quiet(parser, 'q', "quiet", "Quiet", 1, false);
    MultiOptionValue<std::string> second(parser, 0, "", "", 2, false);
    EXPECT_EQ(errorOf(parser, c.words), c.error) << joined(c.words);
    EXPECT_EQ(first.values(), c.first) << joined(c.words);
    EXPECT_EQ(second.values(), c.second) << joined(c.words);
  }
}

TEST(OptParserPositionalTest, WithoutPositionalOptionAWordIsUnexpected) {
  for (bool ignoreUnknown : {true, false}) {
    OptParser parser;
    SwitchValue quiet(parser, 'q', "quiet", "Quiet", 1, false);
    EXPECT_EQ(errorOf(parser, {"-q", "x"}, ignoreUnknown), "Unexpected argument: x");
    EXPECT_EQ(quiet.count, 1u);
  }
  OptParser parser;
  EXPECT_EQ(errorOf(parser, {"--", "-q"}), "Unexpected argument: -q");
}

// Options shaped like a channel selection: a required path or required recorder
// identifiers (one of the two), a prefix that needs the path, and two exclusive views.
struct Selection {
  OptParser parser;
  OptionValue<std::string> path{parser, 'p', "path", "Path", 1, true};
  OptionValue<std::string> prefix{parser, 0, "prefix", "Prefix", 1, false};
  SwitchValue afu{parser, 'a', "afu", "AFU", 1, false};
  SwitchValue trash{parser, 't', "trash", "Trash", 1, false};
  MultiOptionValue<std::string> ids{parser, 0, "", "Recorders identifiers", 128, true};
  Selection() {
    path.excludes(ids);
    prefix.dependsOn(path);
    prefix.excludes(trash);
    trash.excludes(afu);
  }
};

TEST(OptParserCheckTest, AppliesTheRulesInRegistrationOrder) {
  struct Case {
    std::vector<std::string> words;
    std::string error;
    const char* about;  // long name of the option the error is about; "" for none
  } cases[] = {
      {{}, "Missed required option: --path (-p)", "path"},
      {{"1"}, kOk, ""},
      {{"-p", "/x"}, kOk, ""},
      {{"-p", "/x", "--prefix", "c"}, kOk, ""},
      {{"-p", "/x", "1"},
       "Option --path (-p) is mutually exclusive with Recorders identifiers",
       "path"},
      // The earlier-registered option is named first whichever was typed first.
      {{"-t", "-a", "1"}, "Option --afu (-a) is mutually exclusive with --trash (-t)", "afu"},
      // A dependency names the missing option but is about the one that needs it.
      {{"--prefix", "c", "1"}, "Missed required option: --path (-p)", "prefix"},
      // For one option, exclusion is checked before dependency.
      {{"--prefix", "c", "-t", "1"},
       "Option --prefix is mutually exclusive with --trash (-t)",
       "prefix"},
      // An earlier option's rule wins over a later one's.
      {{"-a", "-t"}, "Missed required option: --path (-p)", "path"},
      {{"-t", "-a", "--prefix", "c", "1"},
       "Option --prefix is mutually exclusive with --trash (-t)",
       "prefix"},
      // Help skips every rule.
      {{"-h"}, kOk, ""},
      {{"-p", "/x", "1", "--help"}, kOk, ""},
      {{"-a", "-t", "-h", "--prefix", "c"}, kOk, ""},
  };
  for (const Case& c : cases) {
    Selection selection;
    const Opt* about = nullptr;
    std::string error = kOk;
    try {
      popts_test::parseWords(selection.parser, c.words, false);
    } catch (const OptException& e) {
      error = e.message;
      about = e.option;
      EXPECT_EQ(e.value, "") << joined(c.words);
    }
    EXPECT_EQ(error, c.error) << joined(c.words);
    EXPECT_EQ(about, c.about[0] ? selection.parser.findLong(c.about) : nullptr) << joined(c.words);
  }
}

TEST(OptParserCheckTest, HelpIsReportedAfterParse) {
  Selection selection;
  EXPECT_FALSE(selection.parser.helpRequested());
  popts_test::parseWords(selection.parser, {"-a", "-t", "-h"});
  EXPECT_TRUE(selection.parser.helpRequested());
}

TEST(OptParserCheckTest, OnlyARequiredExcludedOptionExcusesAMissingOne) {
  OptParser parser;
  OptionValue<std::string> path(parser, 'p', "path", "Path", 1, true);
  SwitchValue all(parser, 0, "all", "All", 1, false);
  path.excludes(all);
  EXPECT_EQ(errorOf(parser, {"--all"}), "Missed required option: --path (-p)");
}

}  // namespace
}  // namespace popts
