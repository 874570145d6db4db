// The `stat` command: the number and total size of the files of the chosen archives,
// of their AFU queues or of their trashes, as text or JSON.
#include "stat/stat_command.h"

#include <iostream>
#include <string>
#include <vector>

#include "archive_access/archive_access.h"
#include "popts/popts.h"
#include "stat/archive_stat.h"

namespace {

// The header of the help screen; printUsage() adds the option list. The first line
// names the command by its full name twice on purpose.
void printStatHelp(std::ostream& out) {
  out << "stat (stat): archive(s) statistics\n"
         "usage  stat [options] <channel ids>\n"
         "   or  stat [options] *\n"
         "   or  stat [options] --path <path> --name <prefix>"
      << std::endl;
}

}  // namespace

int statCommand(int argc, const char* const argv[], std::ostream& out, std::ostream& err) {
  popts::OptParser parser;
  // Declaration order is the order of the usage lines.
  popts::OptionValue<std::string> path(parser, 'p', "path", "Single channel path", 1, true);
  popts::OptionValue<std::string> name(parser, 'n', "name", "Single channel name", 1, false);
  popts::MultiOptionValue<std::string, std::vector<std::string>> recorders(
      parser, 0, "", "Recorders identifiers", 128, true);
  popts::SwitchValue afu(parser, 0, "afu", "Statistics for AFU only", 1, false);
  popts::SwitchValue trash(parser, 0, "trash", "Statistics for trash only", 1, false);
  popts::SwitchValue json(parser, 0, "json", "Output in JSON format", 1, false);

  // Either recorder identifiers or one channel given by --path and --name: both are
  // required, and the exclusion excuses the one that is absent.
  path.dependsOn(name);
  path.excludes(recorders);
  afu.excludes(trash);

  try {
    parser.parse(argc, argv, true);
  } catch (const popts::OptException& e) {
    err << e.message << std::endl;
    return 2;
  }
  if (parser.helpRequested()) {
    printStatHelp(out);
    parser.printUsage(out);
    return 1;
  }

  // Before anything is printed, so an unknown recorder leaves standard output empty.
  const ArchiveSet archives = makeArchives(path, name, recorders);
  // Counting asks one flag, of the files of the archives proper: whether they are queued.
  for (const auto& a : archives) a->readMarkers(trash.count != 0 ? 0 : archive::kAFUMarker);

  const bool asJson = json.count != 0;
  if (afu.count != 0) {
    printArchiveStat(out, statArchives(afuQueues(archives)), StatSource::afu, asJson);
  } else if (trash.count != 0) {
    printArchiveStat(out, statArchives(trashes(archives)), StatSource::trash, asJson);
  } else {
    printArchiveStat(out, statArchives(archives), StatSource::archives, asJson);
  }
  return 0;
}

int statCommand(int argc, const char* const argv[]) {
  return statCommand(argc, argv, std::cout, std::cerr);
}
