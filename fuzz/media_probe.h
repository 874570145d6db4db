// Drives the media duration parsers as the archive library does, over a file that a
// fuzz input describes, and stops the run at the first broken promise: a duration out
// of bounds, a range outside the file or over the read size, more reads than the budget.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>

#include "media/duration.h"

// `readAt(range)` gives the bytes of the file for `range` (fewer at its end).
inline void probeFile(std::uint64_t size, std::string_view extension,
                      const std::function<std::string(media::ByteRange)>& readAt) {
  media::DurationProbe probe(size, extension);
  while (!probe.done()) {
    const media::ByteRange range = probe.next();
    if (probe.reads() >= std::size_t(media::kMaxReads) || range.length == 0 ||
        range.length > media::kMaxReadLength || range.offset + range.length > size)
      std::abort();
    probe.add(readAt(range));
  }
  const media::Answer& answer = probe.answer();
  if (answer.verdict == media::Verdict::duration &&
      (answer.seconds < 0 || answer.seconds > media::kMaxSeconds))
    std::abort();
}

// The extension named by the first byte of an input: each container's, and none.
inline std::string_view fuzzExtension(std::uint8_t byte) {
  static const char* const kExtensions[] = {"mp4", "mov", "avi", "ts", "m2ts", "jpg", ""};
  return kExtensions[byte % 7];
}
