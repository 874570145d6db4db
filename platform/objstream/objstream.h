// A JSON value with members kept in key order, and its compact writer.
#pragma once

#include <map>
#include <ostream>
#include <string>

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
  enum class Kind : unsigned char { empty, boolean, integer, string, members };
  // Appends the compact text of this value to `out`.
  void write(std::string& out) const;

  // One of the scalars, or the members (empty and object values alike are written as
  // objects). Written directly, member by member, without building another value: a
  // listing writes one of these per file.
  Kind kind_ = Kind::empty;
  bool boolean_ = false;
  long long integer_ = 0;
  std::string string_;
  std::map<std::string, object> members_;
};

// Writes `value` as compact JSON (no spaces, no line ends). Text that is not valid
// UTF-8 is written with U+FFFD in place of each bad byte sequence.
std::ostream& operator<<(std::ostream& out, object const& value);

}  // namespace objstream
