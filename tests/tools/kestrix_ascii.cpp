// The program once more, but it writes text: what the library can do and the program does not, for
// the readers that are tested with it.
#include <cstdlib>

#include "conversion.h"
#include "options.h"

int main(int argc, char** argv) {
  Settings settings;
  settings.ascii = true;
  ConversionListener listener;
  const bool converted = ParseOptions(argc, argv, &settings) && Convert(settings, &listener);
  return converted ? EXIT_SUCCESS : EXIT_FAILURE;
}
