// A JSON value with members kept in key order, and its compact writer.
#pragma once

#include <map>
#include <ostream>
#include <string>

#include <nlohmann/json.hpp>

namespace objstream {

class object {
 public:
  object();  // an empty value: written as {}; indexing it makes it an object
  object(bool value);
  object(long long value);
  object(std::string const& value);
  object(char const* value);

  // The member `key`, created empty when absent. References stay valid while the
  // member exists. Indexing a boolean, number or string throws std::logic_error.
  object& operator[](std::string const& key);

  friend std::ostream& operator<<(std::ostream& out, object const& value);

 private:
  nlohmann::json toJson() const;

  // The scalar (boolean, integer or string); null while the value is empty or an
  // object, whose members then live in members_. Members are kept apart from the
  // scalar so that operator[] can hand out an `object&`.
  nlohmann::json value_;
  std::map<std::string, object> members_;
};

// Writes `value` as compact JSON (no spaces, no line ends). Text that is not valid
// UTF-8 is written with U+FFFD in place of each bad byte sequence.
std::ostream& operator<<(std::ostream& out, object const& value);

}  // namespace objstream
