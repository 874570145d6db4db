// What a file's media header says of its length, read one file at a time or many at
// once (detail/read_ahead.h): both ask the media parsers the same questions and report
// by the same rule, so a file reports the same duration whichever way it was read.
#pragma once

#include <fcntl.h>

#include <cstdint>
#include <string_view>

#include "media/duration.h"

namespace archive::detail {

// Files are opened non-blocking: a FIFO put where a recording was must not hang the
// listing.
inline constexpr int kOpenFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// Asks the media parsers what they need and reads it with pread, until they answer.
// A read error counts as the end of the file.
media::Answer readDuration(int fd, std::uint64_t size, std::string_view extension);

// The duration a file reports for `answer`: the header's; for a container recognised by
// its content whose header has none yet, the time from `startTime` to the last
// modification `mtime`, if that lies between 0 and media::kMaxSeconds; else 0.
std::int64_t reportedDuration(const media::Answer& answer, std::int64_t mtime,
                              std::int64_t startTime);

}  // namespace archive::detail
