// The `list` command: browses the files of archives, AFU queues or trashes.
#pragma once

#include <iosfwd>

// Handler: argv[0] is the command word as typed. Writes the listing and the help screen
// to `out`, option errors to `err`. Returns 0 after a listing, 1 after the help screen,
// 2 after an option error.
int listCommand(int argc, const char* const argv[], std::ostream& out, std::ostream& err);
// The same on std::cout and std::cerr: the handler of the command table.
int listCommand(int argc, const char* const argv[]);
