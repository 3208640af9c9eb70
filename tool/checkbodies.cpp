// The rules of "check" about bodies: transforms, weights, polygons, ids.
#include <cmath>
#include <numeric>
#include <optional>

#include "Ba/bamodeldatapolyset.h"
#include "Bt/btangles.h"
#include "Bt/bthash.h"
#include "checkrules.h"
#include "style.h"

namespace {

constexpr double kWeightTolerance = 1e-5;  // six decimals may miss 1 by their rounding
// A corner may leave the plane by this part of the polygon's size.
constexpr double kPlaneTolerance = 1e-2;
// A polygon's area must be above this part of the square of its size.
constexpr double kAreaTolerance = 1e-9;

std::string LostForm(const BtRotationAxes& axes) {
  if (!axes.isSheared()) return "the scale is not kept";
  return axes.isScaled() ? "scale and shear are not kept" : "the shear is not kept";
}

void CheckTransforms(const CheckInput& input, Findings* findings) {
  for (const BaBody* body : input.bodies) {
    BtRotationAxes axes;
    if (!BtGetRotationAxes(&axes, BtCoordSystem(body->transform()).rotation())) {
      findings->add(Kind("left-handed"), PlaceOf(*body),
                    "its axes do not make a right-handed system");
    } else if (axes.isScaled() || axes.isSheared()) {
      findings->add(
          Kind("scaled-transform"), PlaceOf(*body),
          "its axes are off by " + Short(std::max(axes.scale, axes.shear)) + "; " + LostForm(axes));
    }
  }
}

using VertexPoint = std::array<float, 3>;

// The line of a vertex.
Spot At(const std::optional<VertexPoint>& vertex) { return {false, {}, {}, vertex}; }

// The line of its weight.
Spot WeightAt(const std::optional<VertexPoint>& vertex) { return {false, "WEIGHTS", {}, vertex}; }

// What is wrong with the weights of one body's vertices.
struct WeightFaults {
  int above_one = 0;
  int negative = 0;
  double largest = 0;
  std::optional<VertexPoint> above_one_at;  // the first
  std::optional<VertexPoint> negative_at;
  struct Target {
    int count = 0;
    VertexPoint first = {};
  };
  std::map<int, Target> targets;  // vertices that follow each other body, by its id
};

void AddWeights(const BaVertexEffects& effects, int parent_id, const VertexPoint& at,
                WeightFaults* faults) {
  double sum = 0;
  bool negative = false;
  for (auto* effect = effects.first(); effect != nullptr; effect = effect->next()) {
    float weight = 0;
    int target = parent_id;
    if (effect->type() == BaFlexEffect) {
      weight = static_cast<const BaVertexFlexEffect*>(effect)->weight;
    } else if (effect->type() == BaFlex2Effect) {
      weight = static_cast<const BaVertexFlex2Effect*>(effect)->weight;
      target = static_cast<const BaVertexFlex2Effect*>(effect)->body_id;
    } else {
      continue;
    }
    negative |= weight < 0;
    sum += std::max(0.0, static_cast<double>(weight));
    if (WeightFaults::Target& other = faults->targets[target]; other.count++ == 0) other.first = at;
  }
  if (negative && faults->negative++ == 0) faults->negative_at = at;
  if (sum <= 1 + kWeightTolerance) return;
  if (faults->above_one++ == 0) faults->above_one_at = at;
  faults->largest = std::max(faults->largest, sum);
}

std::string VerticesText(int count) { return Counted(count, "vertex", "vertices"); }

void AddTargetFindings(const BaBody& body, const WeightFaults& faults, const BaModel& model,
                       const BtHashMap<int, int>& tops, Findings* findings) {
  for (const auto& [id, followers] : faults.targets) {
    const auto& [count, first] = followers;
    const BaBody* target = id == 0 ? nullptr : model.findBody(id);
    const bool one = count == 1;
    if (target == nullptr) {
      findings->add(Kind("flex-target-missing"), PlaceOf(body),
                    VerticesText(count) + (one ? " follows " : " follow ") +
                        (id == 0 ? "the world" : "body " + std::to_string(id)),
                    count, At(first));
    } else if (tops.at(id) != tops.at(body.id())) {
      findings->add(Kind("flex-outside-chain"), PlaceOf(body),
                    VerticesText(count) + (one ? " follows " : " follow ") + Text(target->name()),
                    count, At(first));
    }
  }
}

void CheckWeights(const CheckInput& input, Findings* findings) {
  BtHashMap<int, int> tops;  // the body at the top of each body's chain
  for (const BaBody* body : input.bodies) {
    tops[body->id()] = body->parentId() == 0 ? body->id() : tops[body->parentId()];
  }
  for (const BaBody* body : input.bodies) {
    WeightFaults faults;
    const BaModelData_PolySet set(body);
    for (const auto& vertex : set.effects()) {
      const BaMDPoint& p = set.vertices()[static_cast<std::size_t>(vertex.vertex)];
      AddWeights(*vertex.effects, body->parentId(), {p.x, p.y, p.z}, &faults);
    }
    if (faults.above_one > 0) {
      findings->add(Kind("weight-above-one"), PlaceOf(*body),
                    VerticesText(faults.above_one) + ", up to " + Short(faults.largest),
                    faults.above_one, WeightAt(faults.above_one_at));
    }
    if (faults.negative > 0) {
      findings->add(Kind("weight-negative"), PlaceOf(*body), VerticesText(faults.negative),
                    faults.negative, WeightAt(faults.negative_at));
    }
    AddTargetFindings(*body, faults, input.model, tops, findings);
  }
}

struct PolygonFaults {
  int degenerate = 0;
  int nonplanar = 0;
  double worst = 0;
  std::optional<VertexPoint> degenerate_at;  // a corner of the first
  std::optional<VertexPoint> worst_at;
};

void AddPolygon(const BaVertexElement& element, const std::vector<int>& corners,
                PolygonFaults* faults) {
  const float* const first = element.vertices()[corners.front()].position();
  const VertexPoint corner = {first[0], first[1], first[2]};
  std::vector<Point> points;
  points.reserve(corners.size());
  for (const int i : corners) points.push_back(PointOf(element.vertices()[i]));
  Point centre = {};
  for (const Point& p : points) {
    for (std::size_t c = 0; c < 3; ++c) centre[c] += p[c] / static_cast<double>(points.size());
  }
  Point normal = {};  // as long as twice the area
  double size = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Point a = points[i] - centre;
    const Point n = Cross(a, points[(i + 1) % points.size()] - centre);
    for (std::size_t c = 0; c < 3; ++c) normal[c] += n[c];
    size = std::max(size, Length(a));
  }
  const double length = Length(normal);
  if (!(length > kAreaTolerance * size * size)) {
    if (faults->degenerate++ == 0) faults->degenerate_at = corner;
    return;
  }
  double off = 0;
  for (const Point& p : points) {
    off = std::max(off, std::fabs(Dot(p - centre, normal)) / length);
  }
  if (off <= kPlaneTolerance * size) return;
  ++faults->nonplanar;
  if (off <= faults->worst) return;
  faults->worst = off;
  faults->worst_at = corner;
}

template <class Elements>
int CountWithoutFace(const Elements& elements) {
  return static_cast<int>(std::count_if(elements.begin(), elements.end(), [](const auto* polygon) {
    return polygon->numVertices() < 3;
  }));
}

void CheckPolygons(const CheckInput& input, Findings* findings) {
  for (const BaBody* body : input.bodies) {
    PolygonFaults faults;
    faults.degenerate =
        CountWithoutFace(body->polygons()) + CountWithoutFace(body->texturedPolygons());
    ForEachFace(*body, [&](const BaVertexElement& element, const std::vector<int>& corners) {
      AddPolygon(element, corners, &faults);
    });
    if (faults.degenerate > 0) {
      findings->add(Kind("polygon-degenerate"), PlaceOf(*body),
                    Counted(faults.degenerate, "polygon", "polygons"), faults.degenerate,
                    At(faults.degenerate_at));
    }
    if (faults.nonplanar > 0) {
      findings->add(Kind("polygon-nonplanar"), PlaceOf(*body),
                    Counted(faults.nonplanar, "polygon", "polygons") + ", corners up to " +
                        Short(faults.worst) + " off the plane",
                    faults.nonplanar, At(faults.worst_at));
    }
  }
}

void CheckIds(const CheckInput& input, Findings* findings) {
  if (input.bodies.empty()) {
    findings->add(Kind("no-bodies"), {"model", input.model_file, {}}, "nothing is converted");
    return;
  }
  int gaps = 0;
  int first = 0;
  for (int id = 1; id < input.model.bodies().size(); ++id) {
    if (input.model.findBody(id) != nullptr) continue;
    if (gaps++ == 0) first = id;
  }
  if (gaps == 0) return;
  findings->add(
      Kind("id-gap"), {"model", input.model_file, {}},
      Counted(gaps, "id is", "ids are") + " not used, the first is " + std::to_string(first), gaps);
}

void CheckUnits(const CheckInput& input, Findings* findings) {
  const BaUnits& units = input.model.lengthUnits();
  const double scale = CentimetresPer(units);
  if (std::fabs(scale / input.scale_factor - 1) < 1e-3) return;
  findings->add(Kind("units-not-inches"), {"model", input.model_file, {}},
                "lengths times " + Short(static_cast<double>(units.factor)) + " are " +
                    Text(units.name) + ", the scale factor is " + Short(input.scale_factor) +
                    (scale > 0 ? " and should be " + Short(scale) : ""),
                1, {false, "UNITS"});
}

void CheckNotConverted(const CheckInput& input, Findings* findings) {
  const BaModel& model = input.model;
  const struct {
    int count;
    const char* one;
    const char* many;
  } kinds[] = {{model.bones().size(), "bone", "bones"},
               {model.lights().count(), "light", "lights"},
               {model.lightingModels().count(), "lighting model", "lighting models"},
               {model.muscles().count(), "muscle", "muscles"}};
  std::string text;
  int total = 0;
  for (const auto& kind : kinds) {
    if (kind.count == 0) continue;
    text += (text.empty() ? "" : ", ") + Counted(kind.count, kind.one, kind.many);
    total += kind.count;
  }
  if (total == 0) return;
  findings->add(Kind("not-converted"), {"model", input.model_file, {}}, text, total);
}

constexpr CheckRule kBodyRules[] = {CheckTransforms, CheckWeights, CheckPolygons,
                                    CheckIds,        CheckUnits,   CheckNotConverted};

}  // namespace

std::span<const CheckRule> BodyRules() { return kBodyRules; }
