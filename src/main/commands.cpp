// The command table, command lookup, the general help, the `help` command and dispatch.
#include "main/commands.h"

#include <strings.h>

#include <cstring>
#include <exception>
#include <iostream>
#include <iterator>
#include <ostream>

#include "list/list_command.h"
#include "stat/stat_command.h"

namespace {

const CommandEntry kCommands[] = {
    {"help", "h", "show help on a specific command", helpCommand, helpCommand},
    {"list", "ls", "list archive files", listCommand, listCommand},
    {"stat", "st", "archive statistics", statCommand, statCommand},
};

const char kUsageHint[] = "Type 'archive help' for usage.";

void printUnknownCommand(std::ostream& err, const char* word) {
  err << "Unknown command: '" << word << "'" << std::endl;
}

}  // namespace

std::size_t commandCount() { return std::size(kCommands); }

const CommandEntry* commandAt(std::size_t index) {
  return index < commandCount() ? &kCommands[index] : nullptr;
}

const CommandEntry* findCommand(const char* word) {
  for (const CommandEntry& entry : kCommands) {
    if (strcasecmp(word, entry.alias) == 0 || strcasecmp(word, entry.name) == 0) return &entry;
  }
  return nullptr;
}

void printGeneralHelp(std::ostream& out) {
  out << "Archive Tool Box" << std::endl;
  out << "Usage: archive <command> [options]" << std::endl;
  out << "Type 'archive help <command>' for help on a specific command." << std::endl;
  out << std::endl;
  out << "Available commands:" << std::endl;
  for (const CommandEntry& entry : kCommands) {
    out << "  " << entry.name << " (" << entry.alias << ") - " << entry.description << std::endl;
  }
}

void printGeneralHelp() { printGeneralHelp(std::cout); }

// Only the first operand counts; later words are ignored. The called handler decides
// what its help shows and which status it returns.
int helpCommand(int argc, const char* const argv[], std::ostream& out, std::ostream& err) {
  if (argc < 2) {
    printGeneralHelp(out);
    return 0;
  }
  const CommandEntry* entry = findCommand(argv[1]);
  if (entry == nullptr) {
    // Unlike an unknown command word, no usage hint: the user already asked for help.
    printUnknownCommand(err, argv[1]);
    return 1;
  }
  // Exactly two entries and no terminating null: handlers go by the count.
  const char* const helpArgs[2] = {argv[1], "--help"};
  return entry->run(2, helpArgs, out, err);
}

int helpCommand(int argc, const char* const argv[]) {
  return helpCommand(argc, argv, std::cout, std::cerr);
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
    // The handler sees its command word as typed in argv[0].
    return entry->run(argc - 1, argv + 1, out, err);
  } catch (const std::exception& e) {
    err << e.what() << std::endl;
    return 1;
  }
}
