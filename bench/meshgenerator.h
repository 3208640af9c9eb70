// Model files of any size for the benchmarks: a wavy grid of textured quads over a chain of bodies.
#pragma once

#include <string>

// The legacy text of about `polygons` quads. The same number gives the same text.
std::string LegacyGrid(int polygons);

// The document form of a legacy text.
std::string DocumentOf(const std::string& legacy_text);

// A file that is removed again with the object.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& text);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  [[nodiscard]] const char* name() const { return _name.c_str(); }

 private:
  std::string _name;
};
