// browseFileEntries: filter, order (a partial sort when a limit is given), page, and
// read only the files handed on: stat them, or once the listing asks for durations,
// read their headers ahead, many in flight (detail/read_ahead.h).
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "archive/archive.h"
#include "archive/detail/file_name.h"
#include "archive/detail/folder_store.h"
#include "archive/detail/read_ahead.h"

namespace archive {
namespace detail {

struct FileInfoAccess {
  static void reset(FileInfo& info, const FileEntry& entry) { info.reset(entry); }
  static bool refresh(FileInfo& info) { return info.refresh(); }
  static bool openAndRefresh(FileInfo& info) { return info.openAndRefresh(); }
  static bool durationRead(const FileInfo& info) { return info.duration_ >= 0; }
  static void preset(FileInfo& info, const ReadResult& item) {
    info.preset(item.size, item.mtime, item.duration);
  }
};

namespace {

// Start time, then file name (bytes), then gathering order across folders (by where
// each folder's first entry was put; one folder holds a name once), so that the order is
// total: a partial sort then yields exactly the slice of a full sort. Names are rebuilt
// only for equal start times, into buffers kept from call to call.
class TimeLess {
 public:
  bool operator()(const FileEntry& a, const FileEntry& b) const {
    if (a.startTime != b.startTime) return a.startTime < b.startTime;
    // The same start, so the same token: names of other recorders ("cam1_", "cam2_")
    // differ before it, told apart without rebuilding either name.
    if (a.shape != 0 && b.shape != 0) {
      const std::string& headA = a.folder->shapes[a.shape - 1].head;
      const std::string& headB = b.folder->shapes[b.shape - 1].head;
      const std::size_t common = std::min(headA.size(), headB.size());
      const int c = headA.compare(0, common, headB, 0, common);
      if (c != 0) return c < 0;
    }
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
  } else if ((to - from) * 64 <= end - from) {
    // A page of a large set: its entries kept in a heap while the rest pass by, most of
    // them turned away by one comparison with the heap's top.
    std::partial_sort(from, to, end, less);
  } else {
    // The first ones to the front in linear time, then sort just them.
    std::nth_element(from, to, end, less);
    std::sort(from, to, less);
  }
}

using Entries = std::deque<FileEntry>;

// The entries to hand on, in order, after the first `start` that pass the filter; each
// entry meets the filter once.
class Walk {
 public:
  Walk(Entries& entries, BrowseSortOrder order, std::uint64_t start,
       const std::function<bool(const FileEntry&)>& passes)
      : passes_(passes),
        sorting_(order == BrowseSortOrder::time || order == BrowseSortOrder::rtime),
        reverse_(order == BrowseSortOrder::rtime),
        first_(entries.begin()),
        end_(entries.end()) {
    if (!sorting_) {
      for (std::uint64_t skipped = 0; skipped < start && first_ != end_; ++first_)
        if (passes_(*first_)) ++skipped;
      return;
    }
    // The entries are ordered where they lie: no second array. Those the filter passes
    // go to the front first (their order does not matter: the sort's order is total).
    end_ = std::partition(entries.begin(), entries.end(), passes_);
    count_ = std::size_t(end_ - first_);
    // Compared in 64 bits: a start past 2^32 is past every entry, not cut to 32 bits.
    next_ = std::size_t(std::min<std::uint64_t>(start, count_));
  }

  // Sorts up to `upTo` entries (counted from the first of all) if not done yet.
  void sortUpTo(std::uint64_t upTo) {
    const std::size_t wanted = std::size_t(std::min<std::uint64_t>(upTo, count_));
    if (!sorting_ || wanted <= sorted_) return;
    if (reverse_)
      sortPrefix(first_ + sorted_, first_ + wanted, end_,
                 [this](const FileEntry& a, const FileEntry& b) { return less_(b, a); });
    else
      sortPrefix(first_ + sorted_, first_ + wanted, end_, less_);
    sorted_ = wanted;
  }

  // The next entry, or null at the end.
  const FileEntry* take() {
    if (!sorting_) {
      while (first_ != end_)
        if (const FileEntry& entry = *first_++; passes_(entry)) return &entry;
      return nullptr;
    }
    // At least 16 at a time, so that a page cut short by vanished files is extended
    // without a sort per entry.
    if (next_ >= sorted_) sortUpTo(next_ + 16);
    return next_ < sorted_ ? &first_[next_++] : nullptr;
  }

 private:
  const std::function<bool(const FileEntry&)>& passes_;
  const bool sorting_, reverse_;
  Entries::iterator first_, end_;
  // Sorted: [0, count_) passed the filter, [0, sorted_) is in order, next_ is next.
  std::size_t count_ = 0, sorted_ = 0, next_ = 0;
  const TimeLess less_;
};

const FileEntry kNoEntry;  // what the reused FileInfos stand for before their first file

// Hands entries on unless they vanished. A listing that shows durations reads every
// file's header anyway: once the callback has asked for one, later files are read ahead
// through io_uring where it serves (detail/read_ahead.h), else opened and fstat'ed in
// place of a stat by name and a second lookup to open them. Counting only stats.
class HandOn {
 public:
  // `limit`: the most files to hand on (0 = no limit).
  HandOn(const std::function<bool(FileInfo&)>& callback, Walk& walk, std::uint64_t limit)
      : callback_(callback), walk_(walk), limit_(limit) {}

  void run() {
    std::uint64_t handed = 0;
    for (;;) {
      const FileEntry* entry = nullptr;
      const ReadResult* read = nullptr;
      if (reader_) {
        // The queue is kept full, never longer than the listing may still hand on.
        while (reader_->size() < reader_->capacity() &&
               (limit_ == 0 || handed + reader_->size() < limit_)) {
          const FileEntry* next = walk_.take();
          if (!next) break;
          reader_->push(*next);
        }
        if (reader_->size() == 0) return;
        read = &reader_->front();
        entry = read->entry;
      } else if (!(entry = walk_.take())) {
        return;
      }
      bool present = false;
      const bool more = handOne(*entry, read, &present);
      if (read) reader_->pop();
      if (!more || (present && limit_ != 0 && ++handed == limit_)) return;
    }
  }

 private:
  // False when the callback asks to stop; *handed: the file was there. `read`: what was
  // read ahead of it, if anything.
  bool handOne(const FileEntry& entry, const ReadResult* read, bool* handed) {
    // One FileInfo for all: its name keeps its buffer from file to file.
    FileInfoAccess::reset(info_, entry);
    if (read && read->outcome == ReadResult::kRead) {
      FileInfoAccess::preset(info_, *read);
      *handed = true;
    } else if (read && read->outcome == ReadResult::kGone) {
      *handed = false;
    } else {
      // false: vanished since it was gathered
      *handed = openFirst_ ? FileInfoAccess::openAndRefresh(info_) : FileInfoAccess::refresh(info_);
    }
    if (!*handed) return true;
    const bool more = callback_(info_);
    if (FileInfoAccess::durationRead(info_) && !openFirst_) {
      openFirst_ = true;
      reader_ = ReadAhead::create();
    }
    return more;
  }

  const std::function<bool(FileInfo&)>& callback_;
  Walk& walk_;
  const std::uint64_t limit_;
  FileInfo info_{kNoEntry};
  bool openFirst_ = false;
  std::unique_ptr<ReadAhead> reader_;  // once durations are asked, where io_uring serves
};

}  // namespace

void browseFileEntries(std::deque<FileEntry>& entries, BrowseSortOrder order, std::uint64_t start,
                       std::uint64_t limit, BrowseFilter const& filter,
                       std::function<bool(FileInfo&)> callback) {
  const bool filtering = filter.kind == BrowseFilter::kPredicate && filter.predicate;
  // The filter sees every entry: it gets one FileInfo, reset for each, whose name is
  // copied into the same buffer, so asking it costs no allocation.
  FileInfo probe(kNoEntry);
  const std::function<bool(const FileEntry&)> passes = [&](const FileEntry& entry) {
    if (!entry.folder) return false;
    if (!filtering) return true;
    FileInfoAccess::reset(probe, entry);
    return filter.predicate(probe);
  };
  // Files skipped by `start` are not checked on disk: only files handed on are read.
  Walk walk(entries, order, start, passes);
  // A page: no sort of the whole set. The sum saturates, as a limit of "-1" is 2^64 - 1:
  // wrapped, it would leave the page to grow 16 entries a partial sort.
  if (limit != 0)
    walk.sortUpTo(limit > UINT64_MAX - start ? UINT64_MAX : start + limit);
  else
    walk.sortUpTo(entries.size());
  HandOn(callback, walk, limit).run();
}

}  // namespace detail
}  // namespace archive
