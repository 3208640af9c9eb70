// kestrix: converts a character model and its DOF mapping to one FBX file.
#include <malloc.h>

#include <cstdlib>
#include <iostream>
#include <limits>
#include <new>

#include "Bt/btnew.h"
#include "cancel.h"
#include "conversion.h"
#include "options.h"

namespace {

// Lets the scene come to stand where the model was. Large blocks, too, are taken from one heap,
// which keeps what is freed: pages that the system hands out anew cost more than what is done with
// them.
void KeepMemory() {
  constexpr int kLargestBlock = 1 << 30;
  constexpr int kMostFree = std::numeric_limits<int>::max();
  mallopt(M_MMAP_THRESHOLD, kLargestBlock);
  mallopt(M_TRIM_THRESHOLD, kMostFree);
  mallopt(M_MXFAST, 0);  // small pieces are joined as they are freed, not all in one search
}

}  // namespace

int main(int argc, char** argv) {
  KeepMemory();
  std::set_new_handler(BtExitWithoutMemory);
  if (argc <= 1) {
    PrintUsage(std::cout);
    if (std::cout.flush()) return EXIT_SUCCESS;
    std::cerr << "Unable to write to standard output.\n";
    return EXIT_FAILURE;
  }
  Settings settings;
  if (!ParseOptions(argc, argv, &settings)) return EXIT_FAILURE;
  InstallCancel();
  ConversionListener listener;
  return Convert(settings, &listener) ? EXIT_SUCCESS : EXIT_FAILURE;
}
