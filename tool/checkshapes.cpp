// The rules of "check" about what the vertices make together: size, strays, shells, textures.
#include <algorithm>
#include <cmath>

#include "Ba/bamodeldatapolyset.h"
#include "Bt/bthash.h"
#include "checkrules.h"
#include "style.h"

namespace {

constexpr double kSmallest = 20;  // centimetres of a character
constexpr double kLargest = 3000;
constexpr double kMeaningless = 1e9;        // of lengths, told by another rule
constexpr double kStray = 10;               // times the usual distance of a vertex from its body
constexpr double kJointDistance = 0.3;      // of the model's size, between a joint and its shape
constexpr float kMostTextureRepeats = 100;  // pictures in a row, in either direction

// What the vertices of a body tell, in its own system.
struct BodyShape {
  Box box;
  double median = 0;  // of their distances from its origin
  double farthest = 0;
  std::array<float, 3> farthest_at = {};
};

struct ModelShape {
  std::vector<BodyShape> bodies;  // in the order of the input's
  Box box;                        // of vertices and joints in the world
  double median = 0;
};

Point PointOf(const BaMDPoint& p) {
  return {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)};
}

double MedianOf(std::vector<double>* values) {
  if (values->empty()) return 0;
  const auto middle = values->begin() + static_cast<std::ptrdiff_t>(values->size() / 2);
  std::nth_element(values->begin(), middle, values->end());
  return *middle;
}

ModelShape ShapeOf(const CheckInput& input) {
  ModelShape shape;
  const WorldTransforms worlds = WorldTransformsOf(input.model);
  std::vector<double> all;
  Box joints;
  for (const BaBody* body : input.bodies) {
    BodyShape& own = shape.bodies.emplace_back();
    const auto& world = worlds.at(body->id());
    joints.add(OriginOf(world));
    std::vector<double> distances;
    const BaModelData_PolySet set(body);
    for (const BaMDPoint& p : set.vertices()) {
      const Point point = PointOf(p);
      own.box.add(point);
      shape.box.add(BtTransformPoint(point, world));
      distances.push_back(Length(point));
      if (distances.back() <= own.farthest) continue;
      own.farthest = distances.back();
      own.farthest_at = {p.x, p.y, p.z};
    }
    all.insert(all.end(), distances.begin(), distances.end());
    own.median = MedianOf(&distances);
  }
  shape.median = MedianOf(&all);
  shape.box.add(joints);
  return shape;
}

void CheckSize(const CheckInput& input, const ModelShape& shape, Findings* findings) {
  const double size = SizeOf(shape.box);
  const double written = size * input.scale_factor;
  if (size == 0 || (written >= kSmallest && written <= kLargest)) return;
  std::string text = Short(size) + " times the scale factor " + Short(input.scale_factor) + " is " +
                     Short(written) + " cm";
  const BaUnits& units = input.model.lengthUnits();
  const double factor = CentimetresPer(units);
  if (factor > 0 && std::fabs(factor / input.scale_factor - 1) > 1e-3) {
    text += "; -scale_factor " + Short(factor) + " is that of " + Text(units.name);
  }
  findings->add(Kind("size-odd"), {"model", input.model_file, {}}, text, 1, {false, "UNITS"});
}

void CheckStrays(const CheckInput& input, const ModelShape& shape, Findings* findings) {
  for (std::size_t i = 0; i < input.bodies.size(); ++i) {
    const BodyShape& own = shape.bodies[i];
    const double usual = std::max(shape.median, own.median);
    if (usual == 0 || own.farthest <= kStray * usual || own.farthest >= kMeaningless) continue;
    findings->add(Kind("vertex-far"), PlaceOf(*input.bodies[i]),
                  "a vertex is " + Short(own.farthest) +
                      " from the joint, half of them are within " + Short(usual),
                  1, {false, {}, {}, own.farthest_at});
  }
}

// How far the origin is from the box.
double DistanceFrom(const Box& box) {
  Point gap = {};
  for (std::size_t c = 0; c < 3; ++c) gap[c] = std::max({0.0, (*box.min)[c], -(*box.max)[c]});
  return Length(gap);
}

// A character stands about where the axes cross.
void CheckPlace(const CheckInput& input, const ModelShape& shape, Findings* findings) {
  constexpr double kFar = 10;  // times its size
  const double distance = DistanceFrom(shape.box);
  if (input.bodies.empty() || distance >= kMeaningless) return;
  if (distance <= kFar * SizeOf(shape.box) || SizeOf(shape.box) == 0) return;
  findings->add(
      Kind("far-away"), PlaceOf(*input.bodies.front()),
      "it begins " + Short(distance) + " from there, with a size of " + Short(SizeOf(shape.box)), 1,
      {false, "TRANSLATION"});
}

void CheckJoints(const CheckInput& input, const ModelShape& shape, Findings* findings) {
  constexpr std::size_t kFewBodies = 3;
  const double size = SizeOf(shape.box);
  if (input.bodies.size() < kFewBodies) return;
  for (std::size_t i = 0; i < input.bodies.size(); ++i) {
    const Box& box = shape.bodies[i].box;
    // Where one body holds the shape of all, its joint may be anywhere.
    if (!box.min || input.bodies[i]->parentId() == 0) continue;
    const double distance = DistanceFrom(box);
    if (distance <= kJointDistance * size || distance <= SizeOf(box)) continue;
    findings->add(
        Kind("joint-far"), PlaceOf(*input.bodies[i]),
        "the shape begins " + Short(distance) + " from the joint, in a model of " + Short(size));
  }
}

// How far the vertices of a body reach, beside its farthest child.
void CheckProportions(const CheckInput& input, const ModelShape& shape, Findings* findings) {
  constexpr std::size_t kFewest = 3;
  constexpr double kLeast = 0.2;
  constexpr double kMost = 3;
  std::vector<double> reaches;
  for (std::size_t i = 0; i < input.bodies.size(); ++i) {
    const BaBody& body = *input.bodies[i];
    double farthest = 0;
    for (int child = 0; child < body.numChildren(); ++child) {
      const Bt4X4DoubleMat transform(body.child(child)->transform());
      farthest = std::max(farthest, Length(OriginOf(transform)));
    }
    if (shape.bodies[i].farthest > 0 && farthest > 0) {
      reaches.push_back(shape.bodies[i].farthest / farthest);
    }
  }
  if (reaches.size() < kFewest) return;
  const double usual = MedianOf(&reaches);
  if (usual >= kLeast && usual <= kMost) return;
  findings->add(
      Kind("shape-size"), PlaceOf(*input.bodies.front()),
      "in the median body vertices reach " + Short(usual) + " times as far as the next joint");
}

void CheckShape(const CheckInput& input, Findings* findings) {
  const ModelShape shape = ShapeOf(input);
  const bool is_empty = std::ranges::none_of(
      shape.bodies, [](const BodyShape& own) { return own.box.min.has_value(); });
  if (is_empty && !input.bodies.empty()) {
    findings->add(Kind("no-polygons"), {"model", input.model_file, {}},
                  "only joints are converted");
  }
  CheckPlace(input, shape, findings);
  if (!findings->has(Kind("number-odd"))) CheckSize(input, shape, findings);
  CheckStrays(input, shape, findings);
  CheckProportions(input, shape, findings);
  CheckJoints(input, shape, findings);
}

template <class Elements>
void CheckCoordinates(const BaBody& body, const Elements& elements, Findings* findings) {
  int count = 0;
  float largest = 0;
  Spot spot;
  for (const auto* element : elements) {
    const auto& coordinates = element->textureCoords();
    for (int i = 0; i < coordinates.size(); ++i) {
      const float far = std::max(std::fabs(coordinates[i].u), std::fabs(coordinates[i].v));
      if (far <= kMostTextureRepeats) continue;
      ++count;
      largest = std::max(largest, far);
      const float* const p = element->vertices()[i].position();
      if (spot.vertex) continue;
      spot.vertex = {p[0], p[1], p[2]};
      spot.uv = {coordinates[i].u, coordinates[i].v};
    }
  }
  if (count == 0) return;
  findings->add(
      Kind("texture-coordinates"), PlaceOf(body),
      Counted(count, "corner", "corners") + ", up to " + Short(static_cast<double>(largest)), count,
      spot);
}

void CheckTextureCoordinates(const CheckInput& input, Findings* findings) {
  for (const BaBody* body : input.bodies) {
    CheckCoordinates(*body, body->texturedPolygons(), findings);
    CheckCoordinates(*body, body->texturedTMeshes(), findings);
  }
}

constexpr CheckRule kShapeRules[] = {CheckShape, CheckTextureCoordinates};

}  // namespace

double CentimetresPer(const BaUnits& units) {
  constexpr std::pair<const char*, double> kUnits[] = {
      {"MILLIMETERS", 0.1}, {"CENTIMETERS", 1}, {"METERS", 100}, {"INCHES", 2.54}, {"FEET", 30.48}};
  for (const auto& [name, factor] : kUnits) {
    if (units.name == name) return factor * static_cast<double>(units.factor);
  }
  return 0;
}

std::span<const CheckRule> ShapeRules() { return kShapeRules; }
