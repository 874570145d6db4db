// The command table, command lookup, the general help, the `help` command and dispatch.
#include "main/commands.h"

#include <strings.h>

#include <cstring>
#include <exception>
#include <iterator>
#include <ostream>

#include "list/list_command.h"
#include "stat/stat_command.h"

namespace {

int helpCommand(int argc, const char* const argv[]);

const CommandEntry kCommands[] = {
    {"help", "h", "show help on a specific command", helpCommand},
    {"list", "ls", "list archive files", listCommand},
    {"stat", "st", "archive statistics", statCommand},
};

const char kUsageHint[] = "Type 'archive help' for usage.";

void printUnknownCommand(std::ostream& err, const char* word) {
  err << "Unknown command: '" << word << "'" << std::endl;
}

// The `help` command: the general help without an operand (status 0); otherwise the named
// command's own help, by calling its handler with {operand, "--help"}. Only the first
// operand counts; later words are ignored. The called handler decides what its help shows
// and which status it returns.
int helpCommand(int argc, const char* const argv[]) {
  if (argc < 2) {
    printGeneralHelp();
    return 0;
  }
  const CommandEntry* entry = findCommand(argv[1]);
  if (entry == nullptr) {
    // Unlike an unknown command word, no usage hint: the user already asked for help.
    printUnknownCommand(std::cerr, argv[1]);
    return 1;
  }
  // Exactly two entries and no terminating null: handlers go by the count.
  const char* const helpArgs[2] = {argv[1], "--help"};
  return entry->handler(2, helpArgs);
}

// Points std::cout and std::cerr at the buffers of `out` and `err` while it lives: the
// handlers write to the standard streams, and the dispatcher's caller says where those go.
class StandardStreams {
 public:
  StandardStreams(std::ostream& out, std::ostream& err)
      : out_(std::cout.rdbuf(out.rdbuf())), err_(std::cerr.rdbuf(err.rdbuf())) {}
  ~StandardStreams() {
    std::cout.rdbuf(out_);
    std::cerr.rdbuf(err_);
  }
  StandardStreams(const StandardStreams&) = delete;
  StandardStreams& operator=(const StandardStreams&) = delete;

 private:
  std::streambuf* out_;  // the buffers to give back
  std::streambuf* err_;
};

}  // namespace

std::size_t commandCount() { return std::size(kCommands); }

const CommandEntry* commandAt(std::size_t index) {
  return index < commandCount() ? &kCommands[index] : nullptr;
}

const CommandEntry* findCommand(const char* word) {
  for (std::size_t i = 0; const CommandEntry* entry = commandAt(i); ++i) {
    if (strcasecmp(word, entry->alias) == 0 || strcasecmp(word, entry->name) == 0) return entry;
  }
  return nullptr;
}

void printGeneralHelp(std::ostream& out) {
  out << "Archive Tool Box" << std::endl;
  out << "Usage: archive <command> [options]" << std::endl;
  out << "Type 'archive help <command>' for help on a specific command." << std::endl;
  out << std::endl;
  out << "Available commands:" << std::endl;
  for (std::size_t i = 0; const CommandEntry* entry = commandAt(i); ++i) {
    out << "  " << entry->name << " (" << entry->alias << ") - " << entry->description << std::endl;
  }
}

int dispatch(int argc, const char* const argv[], std::ostream& out, std::ostream& err) {
  if (argc < 2) {
    err << kUsageHint << std::endl;
    return 1;
  }
  const char* word = argv[1];
  // Case-sensitive on purpose: -H and --HELP are looked up as command words. The status
  // is 1, as for every help screen except that of the `help` command itself.
  if (std::strcmp(word, "-h") == 0 || std::strcmp(word, "--help") == 0) {
    printGeneralHelp(out);
    return 1;
  }
  const CommandEntry* entry = findCommand(word);
  if (entry == nullptr) {
    printUnknownCommand(err, word);
    err << kUsageHint << std::endl;
    return 1;
  }
  try {
    const StandardStreams streams(out, err);
    // The handler sees its command word as typed in argv[0].
    return entry->handler(argc - 1, argv + 1);
  } catch (const std::exception& e) {
    err << e.what() << std::endl;
    return 1;
  }
}
