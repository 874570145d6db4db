// browseFileEntries: filter, order (a partial sort when a limit is given), page, and
// stat only the files handed on.
#include <algorithm>
#include <vector>

#include "archive/archive.h"
#include "archive/folder_scan.h"

namespace archive {
namespace detail {

struct FileInfoAccess {
  static void reset(FileInfo& info, const FileEntry& entry) { info.reset(entry); }
  static bool refresh(FileInfo& info) { return info.refresh(); }
  static bool openAndRefresh(FileInfo& info) { return info.openAndRefresh(); }
  static bool durationRead(const FileInfo& info) { return info.duration_ >= 0; }
};

namespace {

// Start time, then file name (bytes), then gathering order (folders are numbered as
// they are made, and a folder's names are stored in the order they were gathered), so
// that the order is total and no index needs to be kept beside the entries.
bool timeLess(const FileEntry* a, const FileEntry* b) {
  if (a->startTime != b->startTime) return a->startTime < b->startTime;
  const int c = a->folder->nameOf(*a).compare(b->folder->nameOf(*b));
  if (c != 0) return c < 0;
  if (a->folder->sequence != b->folder->sequence)
    return a->folder->sequence < b->folder->sequence;
  return a->nameOffset < b->nameOffset;
}

bool rtimeLess(const FileEntry* a, const FileEntry* b) { return timeLess(b, a); }

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

  // 8 bytes an entry; sized exactly when every entry passes, so no doubling.
  std::vector<const FileEntry*> refs;
  if (!filtering) refs.reserve(entries.size());
  for (const FileEntry& entry : entries)
    if (passes(entry)) refs.push_back(&entry);
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
    if (!visit(*refs[i])) return;
  }
}

}  // namespace detail
}  // namespace archive
