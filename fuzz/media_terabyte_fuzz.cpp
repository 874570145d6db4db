// The media parsers over a file of a terabyte: the input (after two bytes that pick the
// extension and where it splits) is its head and its tail; the bytes between read as
// zeros, or, when the second byte is odd, cannot be read at all, as on a failing disk.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "media_probe.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  constexpr std::uint64_t kSize = std::uint64_t(1) << 40;
  const std::string bytes(reinterpret_cast<const char*>(data) + 2, size - 2);
  const std::size_t split = bytes.size() * data[1] / 256;
  const std::string head = bytes.substr(0, split), tail = bytes.substr(split);
  const bool holes = data[1] & 1;
  const std::uint64_t tailAt = kSize - tail.size();
  probeFile(kSize, fuzzExtension(data[0]), [&](media::ByteRange r) {
    std::string out;
    std::uint64_t at = r.offset;
    const std::uint64_t end = r.offset + r.length;
    if (at < head.size()) {
      out = head.substr(at, end - at);
      at += out.size();
    }
    if (at < end && at < tailAt) {
      if (holes) return out;  // a short read: nothing more there
      const std::uint64_t zeros = std::min(end, tailAt) - at;
      out.append(zeros, '\0');
      at += zeros;
    }
    if (at < end) out += tail.substr(at - tailAt, end - at);
    return out;
  });
  return 0;
}
