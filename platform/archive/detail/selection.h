// Which names of a folder are recordings of an archive: by extension, and for a single
// channel by name prefix.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace archive::detail {

struct Selection {
  bool byPrefix = false;  // single channel: the name must start with prefix
  std::string prefix;

  // Parses a comma-separated list; blanks around items and empty items are dropped.
  // No item: every name, also without extension.
  void setExtensions(const std::string& list);
  bool passes(std::string_view name) const;

 private:
  // Every name of an archive is held against the list: an extension of up to
  // kShortLength bytes is compared as one number, its bytes folded to lower case and its
  // length on top; the rare longer ones byte by byte.
  static constexpr std::size_t kShortLength = 7;
  static std::uint64_t shortKey(std::string_view extension);
  bool any_ = true;
  std::vector<std::uint64_t> short_;
  std::vector<std::string> long_;
};

}  // namespace archive::detail
