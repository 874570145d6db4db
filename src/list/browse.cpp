// The browse driver: one gathered deque, one library browse, one formatter pass.
#include "list/browse.h"

#include <ctime>
#include <functional>
#include <utility>

#include "archive_access/archive_access.h"

namespace {

// The filter of a start-time range: empty (every file passes) when both bounds are 0.
archive::BrowseFilter makeStartTimeFilter(std::pair<std::int64_t, std::int64_t> range) {
  if (range.first == 0 && range.second == 0) return archive::BrowseFilter();
  const std::int64_t lo = range.first;
  const std::int64_t hi = range.second;
  // Signed comparisons: a lower bound of 0 still rejects start times before the epoch.
  auto inRange = [lo, hi](archive::FileInfo& file) {
    const std::int64_t t = file.getStartTime();
    if (t < lo) return false;
    return hi == 0 || t <= hi;
  };
  return archive::BrowseFilter(archive::BrowseFilter::kPredicate, std::move(inRange));
}

}  // namespace

template <typename Set>
void browseFiles(const Set& set, const BrowseOptions& options, std::ostream& out,
                 IBrowseFilesFormatter* formatter) {
  const archive::BrowseFilter filter = makeStartTimeFilter(options.range);
  formatter->begin(out);
  std::deque<archive::detail::FileEntry> entries = gatherEntries(set);
  archive::detail::browseFileEntries(entries, options.sortOrder, options.start, options.limit,
                                     filter, [formatter, &out](archive::FileInfo& file) {
                                       formatter->format(out, file);
                                       return true;
                                     });
  formatter->end(out);
}

template void browseFiles(const std::vector<std::shared_ptr<archive::Archive>>&,
                          const BrowseOptions&, std::ostream&, IBrowseFilesFormatter*);
template void browseFiles(const std::vector<archive::AFUQueue const*>&, const BrowseOptions&,
                          std::ostream&, IBrowseFilesFormatter*);
template void browseFiles(const std::vector<archive::Trash const*>&, const BrowseOptions&,
                          std::ostream&, IBrowseFilesFormatter*);

std::string localTimeText(std::int64_t seconds, const char* format) {
  const std::time_t t = static_cast<std::time_t>(seconds);
  std::tm local;
  if (localtime_r(&t, &local) == nullptr || local.tm_year > 9999 - 1900) return std::string();
  char buffer[64];
  return std::string(buffer, std::strftime(buffer, sizeof buffer, format, &local));
}
