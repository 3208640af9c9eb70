// What differs between two models or two mappings.
#pragma once

#include <optional>
#include <string>
#include <vector>

class BaModel;
class BaUnlockedMapping;
struct FbxContents;

struct Difference {
  const char* code;  // "body-added" for example; it never changes its meaning
  std::string kind;  // what it is about: "model", "body", "material", "slider", "mapping", "scene"
  std::string name;
  std::string a;  // what each of the two has, empty for nothing
  std::string b;
};

// Stands for what is there and has nothing to be told of it.
inline constexpr const char* kThere = "there";

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
// Nodes, meshes, materials, textures, takes and curves are matched by name, as above; vertices,
// polygons and weights by their places. Files of different families may be equal. The lists of both
// must have been found whole.
std::vector<Difference> DiffFbx(const FbxContents& a, const FbxContents& b, double tolerance);
// Whether all lists of a file can be unpacked, and their indices stand for something; false with a
// recorded error.
bool CheckFbxLists(const FbxContents& contents);
