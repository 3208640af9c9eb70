// Writes a mesh of any size, its pictures aside.
//   kestrix_generate legacy|document|obj|mapping [<polygons> [<bodies> [<materials>]]] >file
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "meshgenerator.h"

int main(int argc, char** argv) {
  MeshSize size;
  int* const numbers[] = {&size.polygons, &size.bodies, &size.materials};
  for (int i = 2; i < argc && i < 5; ++i) {
    *numbers[i - 2] = static_cast<int>(std::strtol(argv[i], nullptr, 10));
  }
  const std::string_view form = argc > 1 ? argv[1] : "";
  std::ios::sync_with_stdio(false);
  if (form == "legacy") {
    WriteMesh(std::cout, MeshForm::Legacy, size);
  } else if (form == "document") {
    WriteMesh(std::cout, MeshForm::Document, size);
  } else if (form == "obj") {
    WriteMesh(std::cout, MeshForm::Obj, size);
  } else if (form == "mapping") {
    WriteMapping(std::cout, size);
  } else {
    std::cerr << "usage: kestrix_generate legacy|document|obj|mapping "
                 "[<polygons> [<bodies> [<materials>]]]\n";
    return 2;
  }
  return std::cout.flush().good() ? EXIT_SUCCESS : EXIT_FAILURE;
}
