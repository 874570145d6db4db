// Counting and printing of archive statistics.
#include "stat/archive_stat.h"

#include <ostream>

#include "archive_access/archive_access.h"

namespace {

// Sums wrap at 2^64 like the counts rather than being undefined on overflow; no real
// archive comes near, but a library that reports nonsense sizes must not crash us.
void addSize(std::int64_t& sum, std::int64_t size) {
  sum =
      static_cast<std::int64_t>(static_cast<std::uint64_t>(sum) + static_cast<std::uint64_t>(size));
}

// Counts one file. A count is raised before its size is read, so a size that cannot be
// read still leaves the file counted. getSize() is asked again for every sum it enters,
// and isInAFUQueue() only of files that are not deleted: a deleted file belongs to the
// trash alone, even if it still carries an AFU marker.
bool countFile(ArchiveStat& stat, archive::FileInfo& file) {
  if (file.deleted) {
    ++stat.deletedCount;
    addSize(stat.deletedSize, file.getSize());
    return true;
  }
  ++stat.filesCount;
  addSize(stat.filesSize, file.getSize());
  if (file.isInAFUQueue()) {
    ++stat.afuCount;
    addSize(stat.afuSize, file.getSize());
  }
  return true;
}

// "<count>\t<size>" and std::endl: the count unsigned, the size signed.
void printCountSizeLine(std::ostream& out, std::uint64_t count, std::int64_t size) {
  out << count << '\t' << size << std::endl;
}

}  // namespace

template <typename Sources>
ArchiveStat statArchives(const Sources& sources) {
  ArchiveStat stat;
  // The totals need no order, so nothing is sorted, filtered or paged.
  std::deque<archive::detail::FileEntry> entries = gatherEntries(sources);
  archive::BrowseFilter everything;
  archive::detail::browseFileEntries(
      entries, archive::BrowseSortOrder::none, 0, 0, everything,
      [&stat](archive::FileInfo& file) { return countFile(stat, file); });
  return stat;
}

template ArchiveStat statArchives(const std::vector<std::shared_ptr<archive::Archive>>&);
template ArchiveStat statArchives(const std::vector<archive::AFUQueue const*>&);
template ArchiveStat statArchives(const std::vector<archive::Trash const*>&);

objstream::object makeCountSizeObject(long long count, long long size) {
  objstream::object pair;
  pair["count"] = objstream::object(count);
  pair["size"] = objstream::object(size);
  return pair;
}

void printCountSizeJson(long long count, long long size, std::ostream& out) {
  out << makeCountSizeObject(count, size) << std::endl;
}

void printArchiveStat(std::ostream& out, const ArchiveStat& stat, StatSource source, bool json) {
  // Counts become long long for JSON as they are: the same bits, so a count above
  // 2^63 shows negative there while the text form shows it unsigned.
  auto printPair = [&out, json](std::uint64_t count, std::int64_t size) {
    if (json) {
      printCountSizeJson(static_cast<long long>(count), size, out);
    } else {
      printCountSizeLine(out, count, size);
    }
  };
  switch (source) {
    case StatSource::afu:
      printPair(stat.afuCount, stat.afuSize);
      return;
    case StatSource::trash:
      printPair(stat.deletedCount, stat.deletedSize);
      return;
    case StatSource::archives:
      if (json) {
        // Built completely before anything is written, so a failure prints nothing.
        objstream::object totals;
        totals["files"] =
            makeCountSizeObject(static_cast<long long>(stat.filesCount), stat.filesSize);
        totals["afu"] = makeCountSizeObject(static_cast<long long>(stat.afuCount), stat.afuSize);
        out << totals << std::endl;
      } else {
        printPair(stat.filesCount, stat.filesSize);
        printPair(stat.afuCount, stat.afuSize);
      }
      return;
  }
}
