// The media header parsers behind probeDuration (duration.h): MP4/QuickTime, AVI and
// MPEG transport streams, each written as straight-line code over a Reader. The Reader
// serves the bytes read so far and notes the first range it lacks, so the parsers need
// no I/O of their own; damaged content gives no duration, never an error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "media/bytes.h"
#include "media/duration.h"

namespace media {

// Random access to the bytes of one file.
class Reader {
 public:
  virtual ~Reader() = default;
  virtual std::uint64_t size() const = 0;
  // Reads up to `length` bytes at `offset`; returns the count read, short only at the
  // end of the data or when the bytes are not at hand.
  virtual std::size_t read(std::uint64_t offset, std::uint8_t* buffer, std::size_t length) = 0;
  // Tells that the coming reads walk [begin, end) (a box or chunk list), so one read may
  // fetch the whole of a small one.
  virtual void expect(std::uint64_t /*begin*/, std::uint64_t /*end*/) {}
};

enum class Container { unknown, mp4, avi, ts };

// Recognises the container by its first bytes (and then sets *byContent), else by
// `extension` (case ignored: mp4 mov m4v 3gp / avi / ts m2ts mts).
Container detectContainer(Reader& reader, std::string_view extension, bool* byContent);

// Each gives whole seconds rounded to nearest, or nothing when the header has none.
std::optional<std::int64_t> mp4Duration(Reader& reader);
std::optional<std::int64_t> aviDuration(Reader& reader);
std::optional<std::int64_t> tsDuration(Reader& reader);

}  // namespace media
