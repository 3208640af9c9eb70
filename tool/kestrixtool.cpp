// kestrix-tool: looks into models, mappings and converted files.
#include <cstdlib>
#include <iostream>
#include <new>

#include "arguments.h"

int main(int argc, char** argv) {
  std::set_new_handler([] {
    std::cerr << "kestrix-tool: Unable to allocate memory!\n";
    std::_Exit(kExitTrouble);
  });
  const int status = RunCommandLine(argc, argv);
  if (std::cout.flush()) return status;
  std::cerr << "kestrix-tool: Unable to write the output.\n";
  return kExitTrouble;
}
