// The JSON value and its writer. Plain text is written here; text that needs escaping
// or may not be valid UTF-8 goes through nlohmann::json, whose replacement of bad
// sequences the writer promises.
#include "objstream/objstream.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace objstream {

namespace {

// Printable ASCII other than '"' and '\\' is written as it is by any JSON writer.
bool isPlain(const std::string& text) {
  for (unsigned char c : text)
    if (c < 0x20 || c > 0x7e || c == '"' || c == '\\') return false;
  return true;
}

void writeString(std::string& out, const std::string& text) {
  if (isPlain(text)) {
    out += '"';
    out += text;
    out += '"';
    return;
  }
  // File names may hold any bytes: replace bad UTF-8 rather than fail a listing.
  out += nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

object::object() = default;
object::object(bool value) : kind_(Kind::boolean), boolean_(value) {}
object::object(long long value) : kind_(Kind::integer), integer_(value) {}
object::object(std::string const& value) : kind_(Kind::string), string_(value) {}
// A null pointer is taken as the empty text rather than crashing a listing.
object::object(char const* value) : kind_(Kind::string), string_(value ? value : "") {}

object& object::operator[](std::string const& key) {
  // A scalar silently turned into an object would lose its value; that is a caller bug.
  if (kind_ != Kind::empty && kind_ != Kind::members) {
    const char* type = kind_ == Kind::boolean   ? "boolean"
                       : kind_ == Kind::integer ? "number"
                                                : "string";
    throw std::logic_error("objstream: cannot add member '" + key + "' to a " + type);
  }
  kind_ = Kind::members;
  return members_[key];
}

void object::write(std::string& out) const {
  switch (kind_) {
    case Kind::boolean:
      out += boolean_ ? "true" : "false";
      return;
    case Kind::integer: {
      char digits[24];
      const auto result = std::to_chars(digits, digits + sizeof digits, integer_);
      out.append(digits, result.ptr);
      return;
    }
    case Kind::string:
      writeString(out, string_);
      return;
    case Kind::empty:
    case Kind::members:
      break;
  }
  out += '{';
  bool first = true;
  for (const auto& member : members_) {
    if (!first) out += ',';
    first = false;
    writeString(out, member.first);
    out += ':';
    member.second.write(out);
  }
  out += '}';
}

std::ostream& operator<<(std::ostream& out, object const& value) {
  // One buffer, kept between calls, and one write per value.
  thread_local std::string text;
  text.clear();
  value.write(text);
  return out.write(text.data(), std::streamsize(text.size()));
}

}  // namespace objstream
