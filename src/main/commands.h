// The command shell: the table of commands, their lookup, the general help and the entry
// point's dispatch.
#pragma once

#include <cstddef>
#include <iostream>

// A command handler: argv[0] is the command word as typed, argc counts it, and argv has
// no terminating null entry. Writes to std::cout and std::cerr; returns the exit status.
using CommandHandler = int (*)(int argc, const char* const argv[]);

struct CommandEntry {
  const char* name;
  const char* alias;
  const char* description;  // one line of the general help
  CommandHandler handler;
};

std::size_t commandCount();
// The entry at `index` in table order, or null when `index` is past the end.
const CommandEntry* commandAt(std::size_t index);

// The entry whose alias or name equals `word` ignoring ASCII case, trying entries in table
// order and the alias before the name; null if none. There is no prefix matching.
const CommandEntry* findCommand(const char* word);

// The general help screen, each line flushed.
void printGeneralHelp(std::ostream& out = std::cout);

// Everything the program does with its command line, argv[0] being the program name.
// Returns the exit status. Its own messages and the handler's output go to `out` and
// `err`. A std::exception leaving a handler is reported on `err` as its what() text with
// status 1; anything else passes through.
int dispatch(int argc, const char* const argv[], std::ostream& out, std::ostream& err);
