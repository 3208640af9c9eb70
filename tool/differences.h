// What differs between two models or two mappings.
#pragma once

#include <optional>
#include <string>
#include <vector>

class BaModel;
class BaUnlockedMapping;

struct Difference {
  const char* code;  // "body-added" for example; it never changes its meaning
  std::string kind;  // what it is about: "model", "body", "material", "slider", "mapping"
  std::string name;
  std::string a;  // what each of the two has, empty for nothing
  std::string b;
};

// A model and the file that it was read from, beside which its textures are.
struct ModelFile {
  const BaModel& model;
  std::string file;
};

// Bodies, materials and sliders are matched by name, several of one name in their order; vertices
// and faces by their places. Numbers that differ by no more than the tolerance are equal. Textures
// are equal whose pictures are, byte by byte; where a picture is missing, names count.
std::vector<Difference> DiffModels(const ModelFile& a, const ModelFile& b, double tolerance);
// Bodies are matched by id.
std::vector<Difference> DiffMappings(const BaUnlockedMapping& a, const BaUnlockedMapping& b,
                                     double tolerance);
