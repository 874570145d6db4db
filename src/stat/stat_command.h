// The `stat` command: counts the files of archives, AFU queues or trashes and their bytes.
#pragma once

// Handler: argv[0] is the command word as typed. Returns 0 after the totals, 1 after the
// help screen, 2 after an option error.
int statCommand(int argc, const char* const argv[]);
