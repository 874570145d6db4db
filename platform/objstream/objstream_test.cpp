// Tests of the JSON value: kinds, escaping, bad UTF-8, nesting and member order.
#include "objstream/objstream.h"

#include <climits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using objstream::object;

std::string write(const object& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

TEST(ObjstreamTest, ValuesAreWrittenAsCompactValidJson) {
  const std::string fffd = "\xEF\xBF\xBD";
  struct Case {
    const char* name;
    object value;
    std::string expected;
  };
  const std::vector<Case> cases = {
      {"empty", object(), "{}"},
      {"true", object(true), "true"},
      {"false", object(false), "false"},
      {"max", object(LLONG_MAX), "9223372036854775807"},
      {"min", object(LLONG_MIN), "-9223372036854775808"},
      {"std::string", object(std::string("abc")), "\"abc\""},
      {"null pointer", object(static_cast<const char*>(nullptr)), "\"\""},
      {"quote and backslash", object("say \"hi\" a\\b"), R"("say \"hi\" a\\b")"},
      {"control bytes", object("a\nb\tc\x01\x1f"), R"("a\nb\tc\u0001\u001f")"},
      {"valid UTF-8 kept", object("K\xC3\xB6ln \xE2\x82\xAC"), "\"K\xC3\xB6ln \xE2\x82\xAC\""},
      {"lone 0xFF", object("a\xFF" "b"), "\"a" + fffd + "b\""},
      {"truncated 3-byte at end", object("x\xE2\x82"), "\"x" + fffd + "\""},
  };
  for (const Case& c : cases) {
    std::string text;
    EXPECT_NO_THROW(text = write(c.value)) << c.name;
    EXPECT_EQ(text, c.expected) << c.name;
    EXPECT_TRUE(nlohmann::json::accept(text)) << c.name;
  }
}

TEST(ObjstreamTest, MembersAreWrittenInKeyOrderAndCopiedByValue) {
  object pair;
  pair["size"] = object(10LL);
  pair["count"] = object("first");
  pair["count"] = object(3LL);  // the last value assigned to a key stands
  object top;
  top["files"] = pair;
  pair["count"] = object(4LL);  // the copy in `top` is not affected
  top["afu_queue"] = pair;
  top["Zulu"]["deep"] = object(false);  // upper case sorts before lower case
  EXPECT_EQ(write(top), R"({"Zulu":{"deep":false},"afu_queue":{"count":4,"size":10},)"
                        R"("files":{"count":3,"size":10}})");
}

TEST(ObjstreamTest, KeysAreEscapedLikeValues) {
  object o;
  o["a\"b"] = object(1LL);
  o["bad\xFF"] = object("\x7f");
  EXPECT_EQ(write(o), "{\"a\\\"b\":1,\"bad\xEF\xBF\xBD\":\"\x7f\"}");
}

TEST(ObjstreamTest, IndexingAScalarThrows) {
  object number(5LL);
  try {
    number["x"];
    ADD_FAILURE() << "no exception";
  } catch (const std::logic_error& e) {
    EXPECT_STREQ(e.what(), "objstream: cannot add member 'x' to a number");
  }
  EXPECT_EQ(write(number), "5");
}

TEST(ObjstreamTest, OutputParsesBackToTheSameValues) {
  object o;
  o["name"] = object("tab\there \"quoted\" \\ \x01 end");
  o["min"] = object(LLONG_MIN);
  o["max"] = object(LLONG_MAX);
  o["nested"]["empty"] = object();
  const nlohmann::json parsed = nlohmann::json::parse(write(o));
  EXPECT_EQ(parsed["name"], "tab\there \"quoted\" \\ \x01 end");
  EXPECT_EQ(parsed["min"].get<long long>(), LLONG_MIN);
  EXPECT_EQ(parsed["max"].get<long long>(), LLONG_MAX);
  EXPECT_EQ(parsed["nested"]["empty"], nlohmann::json::object());
}

}  // namespace
