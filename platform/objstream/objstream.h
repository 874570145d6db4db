// A JSON value with members kept in key order, and its compact writer.
#pragma once

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

  // The member `key`, created empty when absent.
  object& operator[](std::string const& key);

  friend std::ostream& operator<<(std::ostream& out, object const& value);

 private:
  nlohmann::json value_;
};

// Writes `value` as compact JSON (no spaces, no line ends). Text that is not valid
// UTF-8 is written with U+FFFD in place of each bad byte sequence.
std::ostream& operator<<(std::ostream& out, object const& value);

}  // namespace objstream
