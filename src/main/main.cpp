// The entry point of the `archive` tool; everything else lives in the shell library.
#include <iostream>

#include "main/commands.h"

int main(int argc, char* argv[]) { return dispatch(argc, argv, std::cout, std::cerr); }
