// The `list` command: parses its options, chooses the archives and the kind of source,
// and lists their files through the text or the JSON formatter.
#include "list/list_command.h"

#include <cstdint>
#include <cstring>
#include <iostream>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "archive_access/archive_access.h"
#include "list/browse.h"
#include "list/json_formatter.h"
#include "list/shell_formatter.h"
#include "popts/popts.h"

// Grammar of --sort: t|time (ascending) or rt|rtime (descending), case-sensitive like
// every other fixed word of an option value.
namespace popts {
template <>
struct OptValueParser<archive::BrowseSortOrder> {
  static bool parse(const char* text, archive::BrowseSortOrder& out) {
    if (std::strcmp(text, "t") == 0 || std::strcmp(text, "time") == 0) {
      out = archive::BrowseSortOrder::time;
      return true;
    }
    if (std::strcmp(text, "rt") == 0 || std::strcmp(text, "rtime") == 0) {
      out = archive::BrowseSortOrder::rtime;
      return true;
    }
    return false;
  }
};
}  // namespace popts

namespace {

void printListHelp(std::ostream& out) {
  out << "list (ls): browse archive files" << std::endl;
  out << "usage  list [options] <channel ids>" << std::endl;
  out << "   or  list [options] *" << std::endl;
  out << "   or  list [options] --path <path> --name <prefix>" << std::endl;
}

// "*" and "all" stand for every extension, which the archive library spells as "".
std::string extensionList(const std::string& value) {
  return value == "*" || value == "all" ? std::string() : value;
}

// The marker folders the columns show, in text and JSON alike: "A" every flag, "a" those
// of the recording, the download and the lock. The others need none read.
std::uint8_t markersShown(const std::string& columns) {
  if (columns.find('A') != std::string::npos) return archive::kAllMarkers;
  if (columns.find('a') != std::string::npos)
    return archive::kRecordingMarker | archive::kDownloadedMarker | archive::kLockedMarker;
  return 0;
}

}  // namespace

int listCommand(int argc, const char* const argv[], std::ostream& out, std::ostream& err) {
  std::string columnFormat = "ATSDNF";
  bool quote = false;
  BrowseOptions browse;

  // Registration order is the order of the help screen's lines.
  popts::OptParser parser;
  popts::Option<std::string> format(parser, 'f', "format", "Columns", 1, false, columnFormat);
  popts::Switch quoteNames(parser, 'q', "quote", "Quote names", 1, false, quote);
  popts::OptionValue<std::string> exts(parser, 'e', "exts", "Extensions filter", 1, false);
  popts::Option<std::uint64_t> start(parser, 's', "start", "Starting index", 1, false,
                                     browse.start);
  popts::Option<std::uint64_t> limit(parser, 'l', "limit", "Output limit", 1, false, browse.limit);
  popts::Option<archive::BrowseSortOrder> sort(parser, 'S', "sort", "Sort order (time, rtime)", 1,
                                               false, browse.sortOrder);
  popts::SwitchValue afu(parser, 0, "afu", "Browse AFU", 1, false);
  popts::SwitchValue trash(parser, 0, "trash", "Browse trash", 1, false);
  popts::OptionValue<std::string> path(parser, 'p', "path", "Single channel path", 1, true);
  popts::OptionValue<std::string> name(parser, 'n', "name", "Single channel name", 1, false);
  popts::SwitchValue json(parser, 0, "json", "Output in JSON format", 1, false);
  popts::Option<std::pair<std::int64_t, std::int64_t>> range(
      parser, 0, "st-range", "Start timestamp range", 1, false, browse.range);
  popts::MultiOptionValue<std::string, std::vector<std::string>> ids(
      parser, 0, "", "Recorders identifiers", 128, true);

  path.dependsOn(name);
  // Both are required, so exactly one of them must be given.
  path.excludes(ids);
  afu.excludes(trash);

  try {
    parser.parse(argc, argv, true);
  } catch (popts::OptException& e) {
    err << e.message << std::endl;
    return 2;
  }
  if (parser.helpRequested()) {
    printListHelp(out);
    parser.printUsage(out);
    return 1;
  }

  const ArchiveSet archives = makeArchives(path, name, ids);
  // Before the choice of source, so that the filter holds for AFU and trash listings too.
  for (const auto& a : archives) {
    if (exts.count != 0) a->setExtensions(extensionList(exts.value()));
    a->readMarkers(markersShown(columnFormat));
  }

  std::unique_ptr<IBrowseFilesFormatter> formatter;
  if (json.value()) {
    formatter = std::make_unique<JsonBrowseFilesFormatter>(columnFormat);
  } else {
    formatter = std::make_unique<ShellBrowseFilesFormatter>(columnFormat, quote);
  }

  if (afu.value()) {
    browseFiles(afuQueues(archives), browse, out, formatter.get());
  } else if (trash.value()) {
    browseFiles(trashes(archives), browse, out, formatter.get());
  } else {
    browseFiles(archives, browse, out, formatter.get());
  }
  return 0;
}

int listCommand(int argc, const char* const argv[]) {
  return listCommand(argc, argv, std::cout, std::cerr);
}
