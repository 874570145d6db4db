// Counts the files of a set of archives, AFU queues or trashes and adds up their sizes
// in one browse, and writes a count and size pair as a text line or a JSON object.
#pragma once

#include <cstdint>
#include <iostream>
#include <memory>
#include <vector>

#include "archive/archive.h"
#include "objstream/objstream.h"

// Totals of one count. Every file is either deleted (it lies in a trash) or not; the
// not-deleted files that wait in the AFU queue are counted a second time in `afu`.
// Counts are unsigned and wrap at 2^64; sizes are summed as the library reports them,
// negative ones included, and wrap at 2^64 as well.
struct ArchiveStat {
  std::uint64_t filesCount = 0;  // not deleted
  std::int64_t filesSize = 0;
  std::uint64_t afuCount = 0;  // not deleted and in the AFU queue
  std::int64_t afuSize = 0;
  std::uint64_t deletedCount = 0;  // deleted, whether queued or not
  std::int64_t deletedSize = 0;
};

// Gathers the entries of every member of `sources`, in order, into one collection and
// counts them in a single unsorted, unfiltered, unpaged browse. Instantiated for
// std::vector<std::shared_ptr<archive::Archive>>, std::vector<archive::AFUQueue const*>
// and std::vector<archive::Trash const*>. An empty set gives all zeros. Catches nothing:
// a library error leaves with nothing counted for the caller to print.
template <typename Sources>
ArchiveStat statArchives(const Sources& sources);

extern template ArchiveStat statArchives(const std::vector<std::shared_ptr<archive::Archive>>&);
extern template ArchiveStat statArchives(const std::vector<archive::AFUQueue const*>&);
extern template ArchiveStat statArchives(const std::vector<archive::Trash const*>&);

// {"count": count, "size": size}, both JSON integers.
objstream::object makeCountSizeObject(long long count, long long size);

// Writes makeCountSizeObject(count, size) and std::endl. A count above 2^63 arrives
// here as a negative long long and is written as such.
void printCountSizeJson(long long count, long long size, std::ostream& out = std::cout);

// Which set a stat was taken over; it decides which totals are printed.
enum class StatSource { archives, afu, trash };

// Prints the totals that belong to `source`: over archives the files pair then the AFU
// pair (two text lines, or {"afu":...,"files":...}); over AFU queues the AFU pair; over
// trashes the deleted pair. The totals not named are dropped on purpose: a trash file
// that is not flagged deleted, or a queued file that does not report its marker, adds
// nothing to what is shown.
void printArchiveStat(std::ostream& out, const ArchiveStat& stat, StatSource source, bool json);
