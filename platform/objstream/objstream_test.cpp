// Tests of the JSON value: kinds, escaping, bad UTF-8, nesting and member order.
#include "objstream/objstream.h"

#include <climits>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

std::string write(const objstream::object& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}

struct Case {
  const char* name;
  objstream::object value;
  std::string expected;
};

TEST(ObjstreamTest, ScalarsAreWrittenCompactly) {
  const std::vector<Case> cases = {
      {"empty", objstream::object(), "{}"},
      {"true", objstream::object(true), "true"},
      {"false", objstream::object(false), "false"},
      {"zero", objstream::object(0LL), "0"},
      {"negative", objstream::object(-42LL), "-42"},
      {"max", objstream::object(LLONG_MAX), "9223372036854775807"},
      {"min", objstream::object(LLONG_MIN), "-9223372036854775808"},
      {"std::string", objstream::object(std::string("abc")), "\"abc\""},
      {"char pointer", objstream::object("abc"), "\"abc\""},
      {"empty text", objstream::object(""), "\"\""},
      {"null pointer", objstream::object(static_cast<const char*>(nullptr)), "\"\""},
  };
  for (const Case& c : cases) EXPECT_EQ(write(c.value), c.expected) << c.name;
}

TEST(ObjstreamTest, StringsAreEscaped) {
  const std::vector<Case> cases = {
      {"quote", objstream::object("say \"hi\""), R"("say \"hi\"")"},
      {"backslash", objstream::object("a\\b"), R"("a\\b")"},
      {"newline and tab", objstream::object("a\nb\tc"), R"("a\nb\tc")"},
      {"control byte", objstream::object("\x01"), R"("\u0001")"},
      {"unit separator", objstream::object("\x1f"), R"("\u001f")"},
      {"slash kept", objstream::object("a/b"), R"("a/b")"},
      {"valid UTF-8 kept", objstream::object("K\xC3\xB6ln \xE2\x82\xAC"),
       "\"K\xC3\xB6ln \xE2\x82\xAC\""},
  };
  for (const Case& c : cases) EXPECT_EQ(write(c.value), c.expected) << c.name;
}

TEST(ObjstreamTest, BadUtf8IsReplacedNotThrown) {
  const std::string fffd = "\xEF\xBF\xBD";
  const std::vector<Case> cases = {
      {"lone 0xFF", objstream::object("a\xFF" "b"), "\"a" + fffd + "b\""},
      {"lone continuation byte", objstream::object("\x80"), "\"" + fffd + "\""},
      {"truncated 3-byte at end", objstream::object("x\xE2\x82"), "\"x" + fffd + "\""},
      {"truncated 2-byte before ASCII", objstream::object("\xC3z"), "\"" + fffd + "z\""},
      {"overlong slash", objstream::object("\xC0\xAF"), "\"" + fffd + fffd + "\""},
  };
  for (const Case& c : cases) {
    std::string text;
    EXPECT_NO_THROW(text = write(c.value)) << c.name;
    EXPECT_EQ(text, c.expected) << c.name;
    EXPECT_TRUE(nlohmann::json::accept(text)) << c.name;
  }
}

TEST(ObjstreamTest, MembersAreWrittenInKeyOrder) {
  objstream::object o;
  o["size"] = objstream::object(10LL);
  o["afu_queue"] = objstream::object(true);
  o["name"] = objstream::object("x");
  o["Zulu"] = objstream::object(false);  // upper case sorts before lower case
  EXPECT_EQ(write(o), R"({"Zulu":false,"afu_queue":true,"name":"x","size":10})");
}

TEST(ObjstreamTest, AssigningAKeyTwiceKeepsTheLastValue) {
  objstream::object o;
  o["created"] = objstream::object("2024-03-01T14:05:09+0000");
  o["created"] = objstream::object(1709301909LL);
  EXPECT_EQ(write(o), R"({"created":1709301909})");
}

TEST(ObjstreamTest, IndexingCreatesEmptyMembersWrittenAsObjects) {
  objstream::object o;
  o["a"];
  EXPECT_EQ(write(o), R"({"a":{}})");
}

TEST(ObjstreamTest, NestedObjectsAndCopies) {
  objstream::object pair;
  pair["count"] = objstream::object(3LL);
  pair["size"] = objstream::object(-1LL);
  objstream::object top;
  top["files"] = pair;
  pair["count"] = objstream::object(4LL);  // the copy in `top` is not affected
  top["afu"] = pair;
  top["afu"]["deep"]["deeper"] = objstream::object("\"");
  EXPECT_EQ(write(top),
            R"({"afu":{"count":4,"deep":{"deeper":"\""},"size":-1},)"
            R"("files":{"count":3,"size":-1}})");
}

TEST(ObjstreamTest, ReplacingAnObjectByAScalarDropsItsMembers) {
  objstream::object o;
  o["a"]["b"] = objstream::object(1LL);
  o["a"] = objstream::object("flat");
  EXPECT_EQ(write(o), R"({"a":"flat"})");
}

TEST(ObjstreamTest, IndexingAScalarThrows) {
  objstream::object number(5LL);
  try {
    number["x"];
    FAIL() << "no exception";
  } catch (const std::logic_error& e) {
    EXPECT_STREQ(e.what(), "objstream: cannot add member 'x' to a number");
  }
  EXPECT_EQ(write(number), "5");
}

TEST(ObjstreamTest, OutputParsesBackToTheSameValues) {
  objstream::object o;
  o["name"] = objstream::object("tab\there \"quoted\" \\ \x01 end");
  o["min"] = objstream::object(LLONG_MIN);
  o["max"] = objstream::object(LLONG_MAX);
  o["flag"] = objstream::object(true);
  o["nested"]["empty"] = objstream::object();
  const std::string text = write(o);
  EXPECT_EQ(text,
            R"({"flag":true,"max":9223372036854775807,"min":-9223372036854775808,)"
            R"("name":"tab\there \"quoted\" \\ \u0001 end","nested":{"empty":{}}})");
  const nlohmann::json parsed = nlohmann::json::parse(text);
  EXPECT_EQ(parsed["name"], "tab\there \"quoted\" \\ \x01 end");
  EXPECT_EQ(parsed["min"].get<long long>(), LLONG_MIN);
  EXPECT_EQ(parsed["max"].get<long long>(), LLONG_MAX);
  EXPECT_EQ(parsed["flag"], true);
  EXPECT_TRUE(parsed["nested"]["empty"].is_object());
  EXPECT_TRUE(parsed["nested"]["empty"].empty());
}

}  // namespace
