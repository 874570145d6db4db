// The selection of an archive's recordings by name.
#include "archive/detail/selection.h"

#include "archive/detail/file_name.h"
#include "media/bytes.h"

namespace archive::detail {

std::uint64_t Selection::shortKey(std::string_view extension) {
  std::uint64_t key = std::uint64_t(extension.size()) << 56;
  for (std::size_t i = 0; i < extension.size(); ++i) {
    const char c = extension[i];
    key |= std::uint64_t(std::uint8_t(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c)) << (8 * i);
  }
  return key;
}

void Selection::setExtensions(const std::string& list) {
  any_ = true;
  short_.clear();
  long_.clear();
  std::size_t begin = 0;
  while (begin <= list.size()) {
    std::size_t end = list.find(',', begin);
    if (end == std::string::npos) end = list.size();
    std::size_t b = begin, e = end;
    begin = end + 1;
    while (b < e && (list[b] == ' ' || list[b] == '\t')) ++b;
    while (e > b && (list[e - 1] == ' ' || list[e - 1] == '\t')) --e;
    if (e == b) continue;
    any_ = false;
    const std::string_view item = std::string_view(list).substr(b, e - b);
    if (item.size() <= kShortLength)
      short_.push_back(shortKey(item));
    else
      long_.emplace_back(item);
  }
}

bool Selection::passes(std::string_view name) const {
  if (byPrefix && name.compare(0, prefix.size(), prefix) != 0) return false;
  if (any_) return true;
  const std::string_view ext = fileExtension(name);
  if (ext.empty()) return false;
  if (ext.size() <= kShortLength) {
    const std::uint64_t key = shortKey(ext);
    for (const std::uint64_t wanted : short_)
      if (key == wanted) return true;
    return false;
  }
  for (const std::string& wanted : long_)
    if (media::equalsIgnoringCase(ext, wanted)) return true;
  return false;
}

}  // namespace archive::detail
