// The `stat` command (not built yet).
#include "stat/stat_command.h"

#include <iostream>

int statCommand(int, const char* const[]) {
  std::cerr << "The stat command is not available yet." << std::endl;
  return 1;
}
