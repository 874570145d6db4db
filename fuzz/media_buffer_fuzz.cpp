// The media parsers and the container detection over a file held whole in the input
// (after a first byte that picks the extension).
#include <cstddef>
#include <cstdint>
#include <string>

#include "media_probe.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string file(reinterpret_cast<const char*>(data) + 1, size - 1);
  probeFile(file.size(), fuzzExtension(data[0]), [&](media::ByteRange r) {
    return r.offset >= file.size() ? std::string() : file.substr(r.offset, r.length);
  });
  return 0;
}
