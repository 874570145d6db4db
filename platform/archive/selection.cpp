// The selection of an archive's recordings by name.
#include "archive/detail/selection.h"

#include "archive/detail/file_name.h"
#include "media/bytes.h"

namespace archive::detail {

void Selection::setExtensions(const std::string& list) {
  extensions.clear();
  std::size_t begin = 0;
  while (begin <= list.size()) {
    std::size_t end = list.find(',', begin);
    if (end == std::string::npos) end = list.size();
    std::size_t b = begin, e = end;
    while (b < e && (list[b] == ' ' || list[b] == '\t')) ++b;
    while (e > b && (list[e - 1] == ' ' || list[e - 1] == '\t')) --e;
    if (e > b) extensions.push_back(list.substr(b, e - b));
    begin = end + 1;
  }
}

bool Selection::passes(std::string_view name) const {
  if (byPrefix && name.compare(0, prefix.size(), prefix) != 0) return false;
  if (extensions.empty()) return true;
  const std::string_view ext = fileExtension(name);
  if (ext.empty()) return false;
  for (const std::string& wanted : extensions)
    if (media::equalsIgnoringCase(ext, wanted)) return true;
  return false;
}

}  // namespace archive::detail
