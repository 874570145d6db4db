// The JSON value and its writer, built on nlohmann::json.
#include "objstream/objstream.h"

#include <stdexcept>

namespace objstream {

object::object() = default;
object::object(bool value) : value_(value) {}
object::object(long long value) : value_(value) {}
object::object(std::string const& value) : value_(value) {}
// A null pointer is taken as the empty text rather than crashing a listing.
object::object(char const* value) : value_(std::string(value ? value : "")) {}

object& object::operator[](std::string const& key) {
  // A scalar silently turned into an object would lose its value; that is a caller bug.
  if (!value_.is_null()) {
    throw std::logic_error("objstream: cannot add member '" + key + "' to a " +
                           value_.type_name());
  }
  return members_[key];
}

nlohmann::json object::toJson() const {
  if (!value_.is_null()) return value_;
  // Empty and object values alike are written as objects, so an empty value is {}.
  nlohmann::json result = nlohmann::json::object();
  for (const auto& member : members_) result[member.first] = member.second.toJson();
  return result;
}

std::ostream& operator<<(std::ostream& out, object const& value) {
  // File names may hold any bytes: replace bad UTF-8 rather than fail a listing.
  return out << value.toJson().dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace objstream
