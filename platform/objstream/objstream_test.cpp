// Tests of the JSON value: kinds, escaping, bad UTF-8, nesting and member order.
#include "objstream/objstream.h"

#include <climits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using objstream::object;

std::string write(const object& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

TEST(ObjstreamTest, ValuesAreWrittenAsCompactJson) {
  const std::string fffd = "\xEF\xBF\xBD";
  object pair;
  pair["size"] = object(10LL);
  pair["count"] = object("first");
  pair["count"] = object(3LL);  // the last value assigned to a key stands
  object top;
  top["files"] = pair;
  pair["count"] = object(4LL);  // the copy in `top` is not affected
  top["afu_queue"] = pair;
  top["Zulu"]["deep"] = object(false);  // upper case sorts before lower case
  top["a\"b\xFF"] = object();           // keys are escaped like values
  const std::vector<std::pair<object, std::string>> cases = {
      {object(), "{}"},
      {object(true), "true"},
      {object(LLONG_MIN), "-9223372036854775808"},
      {object(static_cast<const char*>(nullptr)), "\"\""},
      {object("say \"hi\" a\\b\x7f"), "\"say \\\"hi\\\" a\\\\b\x7f\""},
      {object("a\nb\tc\x01\x1f"), R"("a\nb\tc\u0001\u001f")"},
      {object("K\xC3\xB6ln \xE2\x82\xAC"), "\"K\xC3\xB6ln \xE2\x82\xAC\""},
      {object("a\xFF" "b x\xE2\x82"), "\"a" + fffd + "b x" + fffd + "\""},
      {top, "{\"Zulu\":{\"deep\":false},\"a\\\"b" + fffd + "\":{},\"afu_queue\":{\"count\":4,"
            "\"size\":10},\"files\":{\"count\":3,\"size\":10}}"},
  };
  for (const auto& [value, want] : cases) EXPECT_EQ(write(value), want);
}

TEST(ObjstreamTest, IndexingAScalarThrows) {
  object number(5LL);
  EXPECT_THROW(number["x"], std::logic_error);
  EXPECT_EQ(write(number), "5");
}

}  // namespace
