// What there is to say about a model, as plain data: gathered once, printed as text or as JSON.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class BaModel;
class BaUnlockedMapping;

using Point = std::array<double, 3>;

// The corners of a box around points; empty until one was added.
struct Box {
  std::optional<Point> min;
  std::optional<Point> max;
  void add(const Point& point);
  void add(const Box& box);
};

// How the vertices of a body follow another one, or their own.
struct WeightFacts {
  int vertices = 0;
  double sum = 0;
};

struct BodyFacts {
  int id = 0;
  std::string name;
  int parent_id = 0;               // 0 for a body at the top
  int depth = 0;                   // 0 at the top
  Point position = {};             // of the origin, in the parent
  Point rotation = {};             // degrees about fixed x, then y, then z, in the parent
  Point world_position = {};       // at rest
  std::optional<bool> mapped;      // nothing where there is no mapping to ask
  std::string rotation_order;      // first rotation first, such as "ZYX"; empty if unknown
  std::string fbx_rotation_order;  // the same read backwards
  int polygons = 0;                // faces, those of strips included
  int corners = 0;
  int vertices = 0;  // different positions
  int bones = 0;
  std::map<int, WeightFacts> weights;  // by the id of the body that is followed
  Box box;                             // of its polygons, in the world
};

struct TextureFacts {
  std::string file;  // as the model names it
  std::string kind;  // "decal", "cube environment", "environment"
  int unit = 0;
  std::string s_attributes;
  std::string t_attributes;
  std::string path;  // where it was found, empty where it was not
  std::uint64_t bytes = 0;
  std::string format;  // "PNG" for example, empty where it is not known
  int width = 0;
  int height = 0;
};

struct MaterialFacts {
  int id = 0;
  std::string name;
  int polygons = 0;
  int bones = 0;
  std::vector<std::pair<std::string, std::vector<double>>> attributes;  // in file order
  std::vector<TextureFacts> textures;
};

struct SliderFacts {
  std::string name;
  int vertices = 0;  // that it moves
  double largest_move = 0;
};

struct SliderGroupFacts {
  std::string name;
  std::vector<SliderFacts> sliders;
};

// Values times the factor are in the named unit.
struct UnitFacts {
  std::string name;
  double factor = 1;
};

struct ModelFacts {
  std::string file;
  std::string dialect;  // "legacy" or "document"
  double version = 0;
  std::optional<UnitFacts> length_unit;  // legacy text states none
  std::optional<UnitFacts> angle_unit;
  bool combine_vertex_normals = true;
  std::vector<BodyFacts> bodies;  // depth first, parents before their children
  std::vector<MaterialFacts> materials;
  std::vector<SliderGroupFacts> slider_groups;
  int polygons = 0;
  int corners = 0;
  int vertices = 0;
  int bones = 0;
  int flexible_polygons = 0;
  int lights = 0;
  int lighting_models = 0;
  int muscles = 0;
  Box box;
};

// Gathers everything. `mapping` may be null. Textures are looked up beside `file`.
ModelFacts GatherModelFacts(const std::string& file, const BaModel& model,
                            const BaUnlockedMapping* mapping);
