#include "meshgenerator.h"

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "bamodel.h"
#include "bamodeldata.h"

namespace {

constexpr int kBodies = 20;

template <class... Values>
void Append(std::string* text, const char* format, Values... values) {
  char line[200];
  const int length = std::snprintf(line, sizeof line, format, values...);
  text->append(line, static_cast<std::size_t>(length));
}

void AppendCorner(std::string* text, int column, int row, int columns) {
  const double u = static_cast<double>(column) / columns;
  const double v = static_cast<double>(row) / columns;
  Append(text, "%.6f %.6f  %.6f %.6f %.6f -1\n", u, v, 40.0 * u, 40.0 * v,
         std::sin(12.0 * u) * std::cos(9.0 * v));
}

}  // namespace

std::string LegacyGrid(int polygons) {
  const int columns = static_cast<int>(std::sqrt(polygons));
  const int rows = polygons / columns;
  std::string text = "Zov Graphic Model File\nv1.30\n";
  for (int id = 1; id <= kBodies; ++id) {
    Append(&text, "X\nbody_%d\n%d\nparent\n%d\n1 0 0\n0 1 0\n0 0 1\n0 0 %d\n", id, id, id - 1, id);
  }
  Append(&text, "M 1 skin\n3 0.8 0.7 0.6\n0\n");
  for (int row = 0; row < rows; ++row) {
    for (int column = 0; column < columns; ++column) {
      Append(&text, "P %d 1 4\n", 1 + row * kBodies / rows);
      AppendCorner(&text, column, row, columns);
      AppendCorner(&text, column + 1, row, columns);
      AppendCorner(&text, column + 1, row + 1, columns);
      AppendCorner(&text, column, row + 1, columns);
    }
  }
  return text;
}

std::string DocumentOf(const std::string& legacy_text) {
  std::istringstream is(legacy_text);
  BaModel model;
  model.scanFrom(is, ".");
  BaModelData model_data;
  model_data.fillFrom(model, true);
  std::ostringstream os;
  model_data.printOn(os);
  return os.str();
}

TemporaryFile::TemporaryFile(const std::string& text)
    : _name((std::filesystem::temp_directory_path() / "kestrix_bench_XXXXXX").string()) {
  const int fd = mkstemp(_name.data());
  if (fd < 0) std::abort();
  close(fd);
  std::ofstream(_name, std::ios::binary) << text;
}

TemporaryFile::~TemporaryFile() { std::filesystem::remove(_name); }
