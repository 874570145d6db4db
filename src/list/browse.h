// The browse driver: merges the files of a set of sources (archives, AFU queues or
// trashes), lets the archive library filter, sort and page them once, and hands each
// file to a formatter.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "archive/archive.h"

// What to list and in which order. `start` and `limit` count across the whole set, not
// per source.
struct BrowseOptions {
  std::uint64_t start = 0;  // index of the first matching file to output
  std::uint64_t limit = 0;  // most files to output; 0 = no limit
  // Start-time bounds in seconds since the epoch, both inclusive; (0, 0) = no filter,
  // an upper bound of 0 = no upper bound.
  std::pair<std::int64_t, std::int64_t> range{0, 0};
  archive::BrowseSortOrder sortOrder = archive::BrowseSortOrder::rtime;
};

// Writes the listed files. One formatter serves one browse: begin once, format once per
// file in listing order, end once (also when no file was listed).
class IBrowseFilesFormatter {
 public:
  virtual ~IBrowseFilesFormatter() = default;
  virtual std::ostream& begin(std::ostream& out) = 0;
  virtual std::ostream& format(std::ostream& out, archive::FileInfo& file) = 0;
  virtual std::ostream& end(std::ostream& out) = 0;
};

// Lists the files of every member of `set`, merged into one sequence. The formatter is
// not owned. Its begin comes before the entries are gathered, so a folder that cannot
// be read leaves what begin wrote (the JSON listing's "[") on `out`. Instantiated for
// the archives of a set (shared handles), their AFU queues and their trashes.
template <typename Set>
void browseFiles(const Set& set, const BrowseOptions& options, std::ostream& out,
                 IBrowseFilesFormatter* formatter);

extern template void browseFiles(const std::vector<std::shared_ptr<archive::Archive>>&,
                                 const BrowseOptions&, std::ostream&, IBrowseFilesFormatter*);
extern template void browseFiles(const std::vector<archive::AFUQueue const*>&, const BrowseOptions&,
                                 std::ostream&, IBrowseFilesFormatter*);
extern template void browseFiles(const std::vector<archive::Trash const*>&, const BrowseOptions&,
                                 std::ostream&, IBrowseFilesFormatter*);

// `seconds` since the epoch in local time as strftime writes it with `format`; empty when
// the C library cannot represent it or its year has five digits, so that a column is left
// empty rather than shifted.
std::string localTimeText(std::int64_t seconds, const char* format);
