// The file-name parser on any bytes: a start token it reports lies inside the name,
// forms a real calendar time, and prefix and event id are parts of the name.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "archive/detail/file_name.h"

namespace {
bool within(std::string_view part, std::string_view whole) {
  return part.empty() ||
         (part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size());
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace archive::detail;
  const std::string_view name(reinterpret_cast<const char*>(data), size);
  const std::string_view ext = fileExtension(name), stem = fileStem(name);
  if (!within(ext, name) || !within(stem, name) || stem.size() + ext.size() > name.size())
    std::abort();
  const NameParts parts = parseFileName(name);
  if (!within(parts.prefix, stem) || !within(parts.eventId, stem)) std::abort();
  if (!parts.hasToken) {
    if (parts.startTime != 0 || !parts.prefix.empty() || !parts.eventId.empty()) std::abort();
    return 0;
  }
  // 0000-01-01 to 9999-12-31 is all that 8 digits of a valid date can say.
  if (parts.startTime < -62167219200LL || parts.startTime > 253402300799LL) std::abort();
  return 0;
}
