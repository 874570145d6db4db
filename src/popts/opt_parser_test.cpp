// Tests of the option library: the command-line walk, the rules of the whole line, and
// the value parsers, over the descriptors of a typical command.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "popts/popts.h"

namespace popts {
namespace {

// A channel selection: a required path or required identifiers (one of the two), a
// prefix that needs the path, exclusive views, a flag, a number and a pair.
struct Command {
  OptParser parser;
  SwitchValue quiet{parser, 'q', "quiet", "Quiet", 1, false};
  OptionValue<unsigned long> limit{parser, 'l', "limit", "Limit", 1, false, 10};
  OptionValue<std::string> path{parser, 'p', "path", "Path", 1, true};
  OptionValue<std::string> prefix{parser, 0, "prefix", "Prefix", 1, false};
  SwitchValue afu{parser, 'a', "afu", "AFU", 1, false};
  SwitchValue trash{parser, 't', "trash", "Trash", 1, false};
  OptionValue<std::pair<long, long>> range{parser, 0, "range", "", 1, false};
  MultiOptionValue<std::string> ids{parser, 0, "", "Recorders identifiers", 128, true};
  Command() {
    path.excludes(ids);
    prefix.dependsOn(path);
    prefix.excludes(trash);
    trash.excludes(afu);
  }
};

// The error parse() throws, with the long name of the option it is about; or what was
// parsed: "q<flag> l<limit> p<path> r<range> ids<a,b,...>".
std::string outcome(const std::vector<std::string>& words, bool ignoreUnknown = true) {
  Command c;
  std::vector<const char*> argv{"ls"};
  for (const std::string& word : words) argv.push_back(word.c_str());
  try {
    c.parser.parse(int(argv.size()), argv.data(), ignoreUnknown);
  } catch (const OptException& e) {
    return e.message + " [" + (e.option ? e.option->longName : "-") + "]";
  }
  std::string ids;
  for (const std::string& id : c.ids.values()) ids += (ids.empty() ? "" : ",") + id;
  return "q" + std::to_string(c.quiet.value()) + " l" + std::to_string(c.limit.value()) + " p" +
         c.path.value() + " r" + std::to_string(c.range.value().first) + "," +
         std::to_string(c.range.value().second) + " ids" + ids;
}

TEST(OptParserTest, WalksTheLineAndAppliesItsRules) {
  const std::vector<std::tuple<std::vector<std::string>, bool, std::string>> cases = {
      // Grouped short options; a value option takes the next word, whatever it looks like.
      {{"-ql", "5", "1"}, true, "q1 l5 p r0,0 ids1"},
      {{"-l", "-q", "1"}, true, "Invalid value '-q' for --limit (-l) [limit]"},
      {{"1", "-l"}, true, "Invalid value 'empty' for --limit (-l) [limit]"},
      // After "--" every word is positional.
      {{"--", "-q", "--", "-"}, true, "q0 l10 p r0,0 ids-q,--,-"},
      {{"1", "-"}, true, "Bad option:- [-]"},
      // Unknown options are dropped without their next word, or refused.
      {{"--frobnicate", "x", "-zq", "--limit=5"}, true, "q1 l10 p r0,0 idsx"},
      {{"--limit=5", "1"}, false, "Unknown option: --limit=5 [-]"},
      // Only the first occurrence of a switch flips it; a limit of 1 lets a named option
      // through twice, the later value winning, and refuses the third.
      {{"-q", "-q", "-l", "1", "--limit", "2", "1"}, true, "q1 l2 p r0,0 ids1"},
      {{"-l", "1", "-l", "2", "-l", "3"}, true, "Too many occurrences of --limit (-l) [limit]"},
      // The rules, in registration order; a dependency is about the option that needs it.
      {{"-t", "-a", "1"}, true, "Option --afu (-a) is mutually exclusive with --trash (-t) [afu]"},
      {{"--prefix", "c", "1"}, true, "Missed required option: --path (-p) [prefix]"},
      {{"--prefix", "c", "-t", "1"},
       true,
       "Option --prefix is mutually exclusive with --trash (-t) [prefix]"},
      // Help skips every rule.
      {{"-a", "-t", "-h", "--prefix", "c"}, true, "q0 l10 p r0,0 ids"},
      // Numbers are base 0 over the whole text; a pair is two numbers and a comma.
      {{"-l", "0x1F", "--range", "5, -7xyz", "1"}, true, "q0 l31 p r5,-7 ids1"},
      {{"-l", "017", "1"}, true, "q0 l15 p r0,0 ids1"},
      {{"-l", "08", "1"}, true, "Invalid value '08' for --limit (-l) [limit]"},
      {{"--range", "5", "1"}, true, "Invalid value '5' for --range [range]"},
  };
  for (const auto& [words, ignoreUnknown, want] : cases)
    EXPECT_EQ(outcome(words, ignoreUnknown), want) << ::testing::PrintToString(words);
}

}  // namespace
}  // namespace popts
