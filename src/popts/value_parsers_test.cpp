// Tests of the value parsers and of how value options report a bad or missing value.
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "popts/popts.h"
#include "popts/test_util.h"

namespace popts {
namespace {

template <typename T>
std::string show(const T& value) { return std::to_string(value); }
std::string show(bool value) { return value ? "true" : "false"; }
std::string show(const std::string& value) { return "[" + value + "]"; }
std::string show(const std::pair<long, long>& value) {
  return show(value.first) + "," + show(value.second);
}

// Each row is {text, what it converts to or "refused"}, starting from `initial`.
template <typename T>
void expectParsed(const char* type, const std::vector<std::pair<const char*, const char*>>& rows,
                  const T& initial = T()) {
  for (const auto& row : rows) {
    T out = initial;
    const bool ok = OptValueParser<T>::parse(row.first, out);
    EXPECT_EQ(ok ? show(out) : "refused", row.second) << type << " '" << row.first << "'";
    if constexpr (std::is_same_v<T, bool>) {
      if (!ok) {
        EXPECT_EQ(out, initial) << "refused '" << row.first << "' changed the flag";
      }
    }
  }
}

TEST(ValueParserTest, NumbersAreBaseZeroOverTheWholeText) {
  expectParsed<unsigned long>("unsigned long",
                              {{"", "0"}, {"0x1F", "31"}, {"017", "15"}, {" 7", "7"},
                               {"-1", "18446744073709551615"}, {"08", "refused"},
                               {"12ab", "refused"}, {"12 ", "refused"}, {"0x", "refused"}});
  expectParsed<unsigned int>("unsigned int",
                             {{"0x100000001", "1"}, {"-1", "4294967295"}, {"08", "refused"}});
  expectParsed<int>("int", {{"", "0"}, {"-0x10", "-16"}, {"017", "15"}, {"0x100000002", "2"},
                            {"09", "refused"}, {"-", "refused"}});
}

TEST(ValueParserTest, WordsAreMatchedWhole) {
  const std::vector<std::pair<const char*, const char*>> boolRows = {
      {"1", "true"},      {"y", "true"},      {"Yes", "true"},     {"ON", "true"},
      {"true", "true"},   {"0", "false"},     {"N", "false"},      {"no", "false"},
      {"Off", "false"},   {"FALSE", "false"}, {"", "refused"},     {"2", "refused"},
      {"yess", "refused"}, {" yes", "refused"}};
  expectParsed<bool>("bool from false", boolRows, false);
  expectParsed<bool>("bool from true", boolRows, true);
  expectParsed<std::string>("string", {{"", "[]"}, {" -a b ", "[ -a b ]"}}, std::string("x"));
}

TEST(ValueParserTest, PairIsTwoCommaSeparatedNumbers) {
  expectParsed<std::pair<long, long>>(
      "pair", {{"5,7", "5,7"}, {"5, 7", "5,7"}, {"5,7xyz", "5,7"}, {"-3,-4", "-3,-4"},
               {"5", "refused"}, {"5 ,7", "refused"}, {"5,", "refused"}, {"", "refused"}});
}

TEST(ValueOptionTest, BadOrMissingValueNamesTheTextAndTheOption) {
  struct Case {
    std::vector<std::string> words;
    std::string error;
    std::string value;
  } cases[] = {
      {{"--limit", "08"}, "Invalid value '08' for --limit (-l)", "08"},
      {{"-jl"}, "Invalid value 'empty' for --limit (-l)", "empty"},
      // The value is the next word whatever it looks like.
      {{"--limit", "--json"}, "Invalid value '--json' for --limit (-l)", "--json"},
      {{"-n", "1", "-n", "x"}, "Invalid value 'x' for -n", "x"},
      {{"-n"}, "Invalid value 'empty' for -n", "empty"},
  };
  for (const Case& c : cases) {
    OptParser parser;
    unsigned long limit = 10;
    Option<unsigned long> limitOption(parser, 'l', "limit", "Limit", 1, false, limit);
    SwitchValue json(parser, 'j', "json", "JSON", 1, false);
    MultiOptionValue<unsigned long> numbers(parser, 'n', "", "Numbers", 4, false);
    const popts_test::Outcome outcome = popts_test::parseWords(parser, c.words);
    EXPECT_EQ(outcome.error, c.error) << popts_test::joined(c.words);
    EXPECT_EQ(outcome.value, c.value) << popts_test::joined(c.words);
  }
}

}  // namespace
}  // namespace popts
