// Tests of the option library: the command-line walk, the rules of the whole line, and
// the value parsers, over the descriptors of a typical command.
#include <gtest/gtest.h>

#include <string>
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
  OptionValue<std::uint64_t> limit{parser, 'l', "limit", "Limit", 1, false, 10};
  OptionValue<std::string> path{parser, 'p', "path", "Path", 1, true};
  OptionValue<std::string> prefix{parser, 0, "prefix", "Prefix", 1, false};
  SwitchValue afu{parser, 'a', "afu", "AFU", 1, false};
  SwitchValue trash{parser, 't', "trash", "Trash", 1, false};
  OptionValue<std::pair<std::int64_t, std::int64_t>> range{parser, 0, "range", "", 1, false};
  MultiOptionValue<std::string> ids{parser, 0, "", "Recorders identifiers", 128, true};
  Command() {
    path.excludes(ids);
    prefix.dependsOn(path);
    prefix.excludes(trash);
    trash.excludes(afu);
  }
};

// The message of the error parse() throws, unknown options ignored as every command does;
// or what was parsed: "q<flag> l<limit> p<path> r<range> ids<a,b,...>".
std::string outcome(const std::vector<std::string>& words) {
  Command c;
  std::vector<const char*> argv{"ls"};
  for (const std::string& word : words) argv.push_back(word.c_str());
  try {
    c.parser.parse(int(argv.size()), argv.data(), true);
  } catch (const OptException& e) {
    return e.message;
  }
  std::string ids;
  for (const std::string& id : c.ids.values()) ids += (ids.empty() ? "" : ",") + id;
  return "q" + std::to_string(c.quiet.value()) + " l" + std::to_string(c.limit.value()) + " p" +
         c.path.value() + " r" + std::to_string(c.range.value().first) + "," +
         std::to_string(c.range.value().second) + " ids" + ids;
}

TEST(OptParserTest, WalksTheLineAndAppliesItsRules) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
      // Grouped short options; a value option takes the next word, whatever it looks like.
      {{"-ql", "5", "1"}, "q1 l5 p r0,0 ids1"},
      {{"-l", "-q", "1"}, "Invalid value '-q' for --limit (-l)"},
      {{"1", "-l"}, "Invalid value 'empty' for --limit (-l)"},
      // After "--" every word is positional.
      {{"--", "-q", "--", "-"}, "q0 l10 p r0,0 ids-q,--,-"},
      {{"1", "-"}, "Bad option:-"},
      // Unknown options are dropped without their next word.
      {{"--frobnicate", "x", "-zq", "--limit=5"}, "q1 l10 p r0,0 idsx"},
      // Only the first occurrence of a switch flips it; a limit of 1 lets a named option
      // through twice, the later value winning, and refuses the third.
      {{"-q", "-q", "-l", "1", "--limit", "2", "1"}, "q1 l2 p r0,0 ids1"},
      {{"-l", "1", "-l", "2", "-l", "3"}, "Too many occurrences of --limit (-l)"},
      // The rules, in registration order; a dependency names the option it needs.
      {{"-t", "-a", "1"}, "Option --afu (-a) is mutually exclusive with --trash (-t)"},
      {{"--prefix", "c", "1"}, "Missed required option: --path (-p)"},
      {{"--prefix", "c", "-t", "1"}, "Option --prefix is mutually exclusive with --trash (-t)"},
      // Help skips every rule.
      {{"-a", "-t", "-h", "--prefix", "c"}, "q0 l10 p r0,0 ids"},
      // Numbers are base 0 over the whole text; a pair is two numbers and a comma.
      {{"-l", "0x1F", "--range", "5, -7xyz", "1"}, "q0 l31 p r5,-7 ids1"},
      {{"-l", "017", "1"}, "q0 l15 p r0,0 ids1"},
      {{"-l", "08", "1"}, "Invalid value '08' for --limit (-l)"},
      {{"--range", "5", "1"}, "Invalid value '5' for --range"},
  };
  for (const auto& [words, want] : cases)
    EXPECT_EQ(outcome(words), want) << ::testing::PrintToString(words);
}

}  // namespace
}  // namespace popts
