// Tests of the JSON value: kinds, escaping, bad UTF-8, nesting and member order.
#include "objstream/objstream.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <string>
#include <vector>

namespace {

using objstream::object;

std::string write(const object& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

TEST(ObjstreamTest, ValuesAreWrittenAsCompactJson) {
  const std::string fffd = "\xEF\xBF\xBD";
  object top;
  top["b"]["deep"] = object(false);
  top["a\"b\xFF"] = object(1LL);  // keys are escaped like values
  top["B"] = object("first");
  top["B"] = object(2LL);  // the last value assigned to a key stands
  const std::vector<std::pair<object, std::string>> cases = {
      {object(), "{}"},
      {object(true), "true"},
      {object(LLONG_MIN), "-9223372036854775808"},
      {object("say \"hi\""), "\"say \\\"hi\\\"\""},
      {object("a\nb\tc\x01\x1f"), R"("a\nb\tc\u0001\u001f")"},
      // Each alone: the last control character, a backslash; the first and last
      // printable ones and DEL need no escape.
      {object("a\x1f"), R"("a\u001f")"},
      {object("a\\b"), R"("a\\b")"},
      {object(std::string("\0", 1)), R"("\u0000")"},
      {object(" ~\x7f"), "\" ~\x7f\""},
      {object("K\xC3\xB6ln \xE2\x82\xAC"), "\"K\xC3\xB6ln \xE2\x82\xAC\""},
      {object("a\xFF"
              "b x\xE2\x82"),
       "\"a" + fffd + "b x" + fffd + "\""},
      {top, "{\"B\":2,\"a\\\"b" + fffd + "\":1,\"b\":{\"deep\":false}}"},
  };
  for (const auto& [value, want] : cases) EXPECT_EQ(write(value), want);
  EXPECT_THROW(object(5LL)["x"], std::logic_error);  // a scalar is no object
}

}  // namespace
