// The `list` command (not built yet).
#include "list/list_command.h"

#include <iostream>

int listCommand(int, const char* const[]) {
  std::cerr << "The list command is not available yet." << std::endl;
  return 1;
}
