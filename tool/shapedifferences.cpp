#include "shapedifferences.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "Ba/bamodeldatapolyset.h"
#include "Bt/bthash.h"
#include "geometry.h"
#include "messages.h"
#include "placeindex.h"
#include "style.h"

namespace {

// What a vertex follows: weights by body name, moves by slider.
using Effects = std::map<std::string, std::vector<double>>;

struct Shape {
  Rows vertices;                            // x y z
  BtHashMap<std::size_t, Effects> effects;  // by vertex
  Rows faces;                               // the middle, and the number of corners
  std::vector<std::string> materials;       // of each face
  Rows corners;                             // x y z u v, of faces with texture
};

void AddEffect(const Ba_VertexEffect& effect, const ShapeOwner& owner, Effects* effects) {
  int target = owner.body.parentId();
  double weight = 0;
  if (effect.type() == BaFlexEffect) {
    weight = static_cast<double>(static_cast<const BaVertexFlexEffect&>(effect).weight);
  } else if (effect.type() == BaFlex2Effect) {
    weight = static_cast<double>(static_cast<const BaVertexFlex2Effect&>(effect).weight);
    target = static_cast<const BaVertexFlex2Effect&>(effect).body_id;
  } else if (effect.type() == BaBlendEffect) {
    const auto& blend = static_cast<const BaVertexBlendEffect&>(effect);
    auto& move = (*effects)["slider " + Text(blend.slider_group) + "/" + Text(blend.slider_name)];
    move.assign(blend.offset.begin(), blend.offset.end());
    return;
  } else {
    return;
  }
  const BaBody* body = owner.model.findBody(target);
  auto& sum = (*effects)["body " + (body == nullptr ? std::to_string(target) : Text(body->name()))];
  sum.resize(1);
  sum[0] += weight;
}

// The texture coordinates of an element, null where it has none.
const BtDArray<BaTextureCoords>* CoordsOf(const BaVertexElement& element) {
  if (const auto* polygon = dynamic_cast<const BaTexturedPolygon*>(&element)) {
    return &polygon->textureCoords();
  }
  const auto* mesh = dynamic_cast<const BaTexturedTMesh*>(&element);
  return mesh == nullptr ? nullptr : &mesh->textureCoords();
}

void AddFace(const BaVertexElement& element, const std::vector<int>& corners, const BaModel& model,
             Shape* shape) {
  std::vector<double> face(4, 0.0);
  const BtDArray<BaTextureCoords>* coords = CoordsOf(element);
  for (const int i : corners) {
    const Point p = PointOf(element.vertices()[i]);
    for (std::size_t c = 0; c < 3; ++c) face[c] += p[c] / static_cast<double>(corners.size());
    if (coords == nullptr) continue;
    const BaTextureCoords& uv = (*coords)[i];
    shape->corners.push_back(
        {p[0], p[1], p[2], static_cast<double>(uv.u), static_cast<double>(uv.v)});
  }
  face[3] = static_cast<double>(corners.size());
  shape->faces.push_back(std::move(face));
  const BaMaterial* material = model.materialById(element.materialId());
  shape->materials.push_back(material == nullptr ? "" : Text(material->name()));
}

Shape ShapeOf(const ShapeOwner& owner) {
  Shape shape;
  const BaModelData_PolySet set(&owner.body);
  for (const BaMDPoint& p : set.vertices()) {
    shape.vertices.push_back(
        {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)});
  }
  for (const auto& vertex : set.effects()) {
    Effects& effects = shape.effects[static_cast<std::size_t>(vertex.vertex)];
    for (auto* effect = vertex.effects->first(); effect != nullptr; effect = effect->next()) {
      AddEffect(*effect, owner, &effects);
    }
  }
  ForEachFace(owner.body, [&](const BaVertexElement& element, const std::vector<int>& corners) {
    AddFace(element, corners, owner.model, &shape);
  });
  return shape;
}

const Effects& EffectsOf(const Shape& shape, std::size_t vertex) {
  static const Effects none;
  const auto found = shape.effects.find(vertex);
  return found == shape.effects.end() ? none : found->second;
}

bool Contains(const Effects& a, const Effects& b, double tolerance) {
  for (const auto& [name, values] : a) {
    const auto other = b.find(name);
    for (std::size_t i = 0; i < values.size(); ++i) {
      const double value = other == b.end() ? 0.0 : other->second[i];
      if (std::fabs(values[i] - value) > tolerance) return false;
    }
  }
  return true;
}

// Rows that may be equal only where they are of one class.
class ClassIndex {
 public:
  void add(const std::string& name, std::vector<double> row) {
    _rows[name].push_back(std::move(row));
  }
  void finish(double tolerance) {
    for (auto& [name, rows] : _rows) _classes.try_emplace(name, std::move(rows), tolerance);
  }
  [[nodiscard]] bool has(const std::string& name, const std::vector<double>& row) const {
    const auto found = _classes.find(name);
    return found != _classes.end() && found->second.has(row);
  }

 private:
  std::map<std::string, Rows> _rows;
  std::map<std::string, PlaceIndex> _classes;
};

// A vertex whose effects are numbers of its row, in the class of their names. Effects that are as
// good as none are left out; what is hardly more is faint: another vertex may have less of it.
struct Follower {
  std::string names;
  std::vector<double> row;
  bool faint = false;
};

Follower FollowerOf(const Shape& shape, std::size_t vertex, double tolerance) {
  Follower follower = {"", shape.vertices[vertex]};
  for (const auto& [name, values] : EffectsOf(shape, vertex)) {
    double most = 0;
    for (const double value : values) most = std::max(most, std::fabs(value));
    follower.faint = follower.faint || (most > 0 && most <= 2 * tolerance);
    if (most <= tolerance) continue;
    follower.names += name + '\n';
    follower.row.insert(follower.row.end(), values.begin(), values.end());
  }
  return follower;
}

// A vertex with its effects in a row of one length for all: the largest and the least number of
// those that share a place. Where no number of two vertices differs by more than the tolerance, no
// number of their rows does.
std::vector<double> MarkedPlace(const Shape& shape, std::size_t vertex) {
  constexpr std::size_t kMarks = 4;
  std::vector<double> row = shape.vertices[vertex];
  row.resize(row.size() + 2 * kMarks);
  for (const auto& [name, values] : EffectsOf(shape, vertex)) {
    const std::size_t mark = shape.vertices[vertex].size() + 2 * (BtHashOf(name) % kMarks);
    for (const double value : values) {
      row[mark] = std::max(row[mark], value);
      row[mark + 1] = std::min(row[mark + 1], value);
    }
  }
  return row;
}

// Vertices of `a` that are in `b` too, but follow other bodies or sliders there.
int CountOtherEffects(const Shape& a, const Shape& b, double tolerance) {
  const PlaceIndex places(b.vertices, tolerance);
  ClassIndex followers;
  std::vector<std::size_t> faint;
  Rows faint_places;
  Rows marked_places;
  for (std::size_t k = 0; k < b.vertices.size(); ++k) {
    Follower follower = FollowerOf(b, k, tolerance);
    if (follower.faint) {
      faint.push_back(k);
      faint_places.push_back(MarkedPlace(b, k));
    }
    marked_places.push_back(MarkedPlace(b, k));
    followers.add(follower.names, std::move(follower.row));
  }
  followers.finish(tolerance);
  const PlaceIndex faint_ones(std::move(faint_places), tolerance);
  const PlaceIndex marked(std::move(marked_places), tolerance);
  int count = 0;
  for (std::size_t i = 0; i < a.vertices.size(); ++i) {
    const Follower follower = FollowerOf(a, i, tolerance);
    if (followers.has(follower.names, follower.row)) continue;
    const Effects& effects = EffectsOf(a, i);
    const auto same = [&](std::size_t k) {
      const Effects& others = EffectsOf(b, k);
      return Contains(effects, others, tolerance) && Contains(others, effects, tolerance);
    };
    const std::vector<double> row = MarkedPlace(a, i);
    const bool found = follower.faint
                           ? marked.has(row, same)
                           : faint_ones.has(row, [&](std::size_t k) { return same(faint[k]); });
    if (!found && places.has(a.vertices[i])) ++count;
  }
  return count;
}

int CountOtherMaterials(const Shape& a, const Shape& b, double tolerance) {
  const PlaceIndex places(b.faces, tolerance);
  ClassIndex of_material;
  for (std::size_t k = 0; k < b.faces.size(); ++k) of_material.add(b.materials[k], b.faces[k]);
  of_material.finish(tolerance);
  int count = 0;
  for (std::size_t i = 0; i < a.faces.size(); ++i) {
    if (!of_material.has(a.materials[i], a.faces[i]) && places.has(a.faces[i])) ++count;
  }
  return count;
}

}  // namespace

void DiffShapes(const ShapeOwner& a_owner, const ShapeOwner& b_owner, double tolerance,
                std::vector<Difference>* found) {
  const Shape a = ShapeOf(a_owner);
  const Shape b = ShapeOf(b_owner);
  const std::string name = Text(a_owner.body.name());
  const auto add = [&](const char* code, const std::string& in_a, const std::string& in_b) {
    if (in_a != in_b) found->push_back({code, "body", name, in_a, in_b});
  };
  add("vertex-count", std::to_string(a.vertices.size()), std::to_string(b.vertices.size()));
  add("polygon-count", std::to_string(a.faces.size()), std::to_string(b.faces.size()));
  const auto add_missing = [&](const char* code, const Rows& in_a, const Rows& in_b) {
    const int only_a = CountMissing(in_a, in_b, tolerance);
    const int only_b = CountMissing(in_b, in_a, tolerance);
    if (only_a + only_b > 0) {
      found->push_back({code, "body", name, std::to_string(only_a) + " that B has not",
                        std::to_string(only_b) + " that A has not"});
    }
  };
  add_missing("vertices-moved", a.vertices, b.vertices);
  add_missing("polygons-changed", a.faces, b.faces);
  add_missing("texture-coordinates", a.corners, b.corners);
  const auto add_count = [&](const char* code, int count, const char* text) {
    if (count > 0) found->push_back({code, "body", name, "", std::to_string(count) + text});
  };
  add_count("weights-changed", CountOtherEffects(a, b, tolerance),
            " vertices follow other bodies or sliders");
  add_count("polygon-materials", CountOtherMaterials(a, b, tolerance),
            " polygons have another material");
}
