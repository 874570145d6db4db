// The `list` command: browses the files of archives, AFU queues or trashes.
#pragma once

// Handler: argv[0] is the command word as typed. Returns 0 after a listing, 1 after the
// help screen, 2 after an option error.
int listCommand(int argc, const char* const argv[]);
