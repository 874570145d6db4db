// Which names of a folder are recordings of an archive: by extension, and for a single
// channel by name prefix.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace archive::detail {

struct Selection {
  std::vector<std::string> extensions;  // empty = every name, also without extension
  bool byPrefix = false;                // single channel: the name must start with prefix
  std::string prefix;

  // Parses a comma-separated list; blanks around items and empty items are dropped.
  void setExtensions(const std::string& list);
  bool passes(std::string_view name) const;
};

}  // namespace archive::detail
