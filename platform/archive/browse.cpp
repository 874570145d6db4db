// browseFileEntries: filter, order (a partial sort when a limit is given), page, and
// stat only the files handed on.
#include <algorithm>
#include <vector>

#include "archive/archive.h"
#include "archive/folder_scan.h"

namespace archive {
namespace detail {

struct FileInfoAccess {
  static bool refresh(FileInfo& info) { return info.refresh(); }
  static bool openAndRefresh(FileInfo& info) { return info.openAndRefresh(); }
  static bool durationRead(const FileInfo& info) { return info.duration_ >= 0; }
};

namespace {

struct Ref {
  const FileEntry* entry;
  std::size_t index;  // gathering position: the last tie-break, so that the order is total
};

// Start time, then file name (bytes), then gathering order.
bool timeLess(const Ref& a, const Ref& b) {
  if (a.entry->startTime != b.entry->startTime) return a.entry->startTime < b.entry->startTime;
  const int c = a.entry->folder->nameOf(*a.entry).compare(b.entry->folder->nameOf(*b.entry));
  if (c != 0) return c < 0;
  return a.index < b.index;
}

bool rtimeLess(const Ref& a, const Ref& b) { return timeLess(b, a); }

// Hands entries on unless they vanished. A listing that shows durations opens every
// file anyway: once the callback has asked for one, later files are opened and fstat'ed
// in place of a stat by name and a second lookup to open them. Counting only stats.
class HandOn {
 public:
  explicit HandOn(const std::function<bool(FileInfo&)>& callback) : callback_(callback) {}
  // False when the callback asks to stop; *handed: the file was there.
  bool operator()(const FileEntry& entry, bool* handed) {
    FileInfo info(entry);
    // false: vanished since it was gathered
    *handed = openFirst_ ? FileInfoAccess::openAndRefresh(info) : FileInfoAccess::refresh(info);
    if (!*handed) return true;
    const bool more = callback_(info);
    if (FileInfoAccess::durationRead(info)) openFirst_ = true;
    return more;
  }

 private:
  const std::function<bool(FileInfo&)>& callback_;
  bool openFirst_ = false;
};

}  // namespace

void browseFileEntries(std::deque<FileEntry>& entries, BrowseSortOrder order,
                       unsigned long start, unsigned long limit, BrowseFilter const& filter,
                       std::function<bool(FileInfo&)> callback) {
  const bool filtering = filter.kind == BrowseFilter::kPredicate && filter.predicate;
  auto passes = [&](const FileEntry& entry) {
    if (!entry.folder) return false;
    if (!filtering) return true;
    FileInfo info(entry);
    return filter.predicate(info);
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

  std::vector<Ref> refs;
  for (std::size_t i = 0; i < entries.size(); ++i)
    if (passes(entries[i])) refs.push_back({&entries[i], i});
  if (start >= refs.size()) return;

  // Sorted so far: [0, sorted). A partial sort leaves the rest no smaller than the
  // sorted part, so when vanished files use up the sorted part it can be extended.
  auto less = order == BrowseSortOrder::rtime ? rtimeLess : timeLess;
  std::size_t sorted = 0;
  auto sortUpTo = [&](std::size_t wanted) {
    wanted = std::min(wanted, refs.size());
    if (wanted <= sorted) return;
    if (wanted == refs.size()) {
      std::sort(refs.begin() + sorted, refs.end(), less);
    } else if (sorted == 0) {
      // The first `wanted` to the front in linear time, then sort just them.
      std::nth_element(refs.begin(), refs.begin() + wanted, refs.end(), less);
      std::sort(refs.begin(), refs.begin() + wanted, less);
    } else {
      std::partial_sort(refs.begin() + sorted, refs.begin() + wanted, refs.end(), less);
    }
    sorted = wanted;
  };
  sortUpTo(limit == 0 || limit > refs.size() - start ? refs.size() : start + limit);

  skipped = start;
  for (std::size_t i = start; i < refs.size(); ++i) {
    if (i >= sorted) sortUpTo(i + std::max<std::size_t>(limit - handed, 16));
    if (!visit(*refs[i].entry)) return;
  }
}

}  // namespace detail
}  // namespace archive
