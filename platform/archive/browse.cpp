// browseFileEntries: filter, order (a partial sort when a limit is given), page, and
// stat only the files handed on.
#include <algorithm>
#include <string>

#include "archive/archive.h"
#include "archive/detail/folder_store.h"

namespace archive {
namespace detail {

struct FileInfoAccess {
  static void reset(FileInfo& info, const FileEntry& entry) { info.reset(entry); }
  static bool refresh(FileInfo& info) { return info.refresh(); }
  static bool openAndRefresh(FileInfo& info) { return info.openAndRefresh(); }
  static bool durationRead(const FileInfo& info) { return info.duration_ >= 0; }
};

namespace {

// Start time, then file name (bytes), then gathering order across folders (by where
// each folder's first entry was put; one folder holds a name once), so that the order is
// total: a partial sort then yields exactly the slice of a full sort. Names are rebuilt only for equal
// start times, into buffers kept from call to call.
class TimeLess {
 public:
  bool operator()(const FileEntry& a, const FileEntry& b) const {
    if (a.startTime != b.startTime) return a.startTime < b.startTime;
    nameA_.clear();
    nameB_.clear();
    a.folder->appendName(a, nameA_);
    b.folder->appendName(b, nameB_);
    const int c = nameA_.compare(nameB_);
    if (c != 0) return c < 0;
    return a.folder->position < b.folder->position;
  }

 private:
  mutable std::string nameA_, nameB_;
};

// Puts the smallest entries of [from, end) in order into [from, to); the rest stays
// behind, none smaller. Called again for the next part when vanished files used up the
// part sorted so far.
template <class It, class Less>
void sortPrefix(It from, It to, It end, const Less& less) {
  if (to == end) {
    std::sort(from, end, less);
  } else {
    // The first ones to the front in linear time, then sort just them.
    std::nth_element(from, to, end, less);
    std::sort(from, to, less);
  }
}

const FileEntry kNoEntry;  // what the reused FileInfos stand for before their first file

// Hands entries on unless they vanished. A listing that shows durations opens every
// file anyway: once the callback has asked for one, later files are opened and fstat'ed
// in place of a stat by name and a second lookup to open them. Counting only stats.
class HandOn {
 public:
  explicit HandOn(const std::function<bool(FileInfo&)>& callback) : callback_(callback) {}
  // False when the callback asks to stop; *handed: the file was there.
  bool operator()(const FileEntry& entry, bool* handed) {
    // One FileInfo for all: its name keeps its buffer from file to file.
    FileInfoAccess::reset(info_, entry);
    // false: vanished since it was gathered
    *handed = openFirst_ ? FileInfoAccess::openAndRefresh(info_) : FileInfoAccess::refresh(info_);
    if (!*handed) return true;
    const bool more = callback_(info_);
    if (FileInfoAccess::durationRead(info_)) openFirst_ = true;
    return more;
  }

 private:
  const std::function<bool(FileInfo&)>& callback_;
  FileInfo info_{kNoEntry};
  bool openFirst_ = false;
};

}  // namespace

void browseFileEntries(std::deque<FileEntry>& entries, BrowseSortOrder order,
                       unsigned long start, unsigned long limit, BrowseFilter const& filter,
                       std::function<bool(FileInfo&)> callback) {
  const bool filtering = filter.kind == BrowseFilter::kPredicate && filter.predicate;
  // The filter sees every entry: it gets one FileInfo, reset for each, whose name is
  // copied into the same buffer, so asking it costs no allocation.
  FileInfo probe(kNoEntry);
  auto passes = [&](const FileEntry& entry) {
    if (!entry.folder) return false;
    if (!filtering) return true;
    FileInfoAccess::reset(probe, entry);
    return filter.predicate(probe);
  };
  // Files skipped by `start` are not checked on disk: only files handed on cost a stat.
  unsigned long skipped = 0, handed = 0;
  HandOn handOn(callback);
  auto visit = [&](const FileEntry& entry) {
    if (skipped < start) {
      ++skipped;
      return true;
    }
    bool present = false;
    if (!handOn(entry, &present)) return false;
    return !(present && limit != 0 && ++handed == limit);
  };

  if (order != BrowseSortOrder::time && order != BrowseSortOrder::rtime) {
    for (const FileEntry& entry : entries)
      if (passes(entry) && !visit(entry)) return;
    return;
  }

  // The entries are ordered where they lie: no second array. Those the filter passes go
  // to the front first (their order does not matter: the sort's order is total).
  const auto first = entries.begin();
  const auto end = std::partition(entries.begin(), entries.end(), passes);
  const std::size_t count = std::size_t(end - first);
  if (start >= count) return;

  const TimeLess timeLess;
  const auto rtimeLess = [&timeLess](const FileEntry& a, const FileEntry& b) {
    return timeLess(b, a);
  };
  std::size_t sorted = 0;  // [0, sorted) is in order
  auto sortUpTo = [&](std::size_t wanted) {
    wanted = std::min(wanted, count);
    if (wanted <= sorted) return;
    if (order == BrowseSortOrder::time)
      sortPrefix(first + sorted, first + wanted, end, timeLess);
    else
      sortPrefix(first + sorted, first + wanted, end, rtimeLess);
    sorted = wanted;
  };
  sortUpTo(limit == 0 || limit > count - start ? count : start + limit);

  skipped = start;
  for (std::size_t i = start; i < count; ++i) {
    if (i >= sorted) sortUpTo(i + std::max<std::size_t>(limit - handed, 16));
    if (!visit(first[i])) return;
  }
}

}  // namespace detail
}  // namespace archive
