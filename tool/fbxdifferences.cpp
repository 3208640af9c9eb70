// What differs between two FBX files of ours, of whichever families.
#include <algorithm>
#include <cmath>
#include <functional>
#include <map>

#include "Bt/bthash.h"
#include "Fbx/kfbxtime.h"
#include "differences.h"
#include "fbxlists.h"
#include "fbxsettings.h"
#include "namedpairs.h"
#include "placeindex.h"
#include "style.h"

namespace {

constexpr auto kUnitsOfSecond = static_cast<double>(KTIME_ONE_SECOND);

// Rows that are made when they are asked for.
struct RowSource {
  std::size_t count;
  std::function<std::vector<double>(std::size_t)> row;
};

struct Missing {
  int only_a = 0;
  int only_b = 0;
};

class FbxDiffer {
 public:
  FbxDiffer(const FbxContents& a, const FbxContents& b, double tolerance)
      : _a(a), _b(b), _tolerance(tolerance) {}
  std::vector<Difference> run();

 private:
  void _add(const char* code, const char* kind, const std::string& name, std::string a,
            std::string b) {
    _found.push_back({code, kind, name, std::move(a), std::move(b)});
  }
  void _compare(const char* code, const char* kind, const std::string& name, const std::string& a,
                const std::string& b) {
    if (a != b) _add(code, kind, name, a, b);
  }
  void _addMissing(const char* code, const char* kind, const std::string& name,
                   const Missing& missing) {
    if (missing.only_a + missing.only_b == 0) return;
    _add(code, kind, name, std::to_string(missing.only_a) + " that B has not",
         std::to_string(missing.only_b) + " that A has not");
  }
  [[nodiscard]] bool _near(const std::vector<double>& a, const std::vector<double>& b) const {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [this](double x, double y) {
      return x == y || std::fabs(x - y) <= _tolerance;
    });
  }
  [[nodiscard]] Missing _missing(const RowSource& a, const RowSource& b) const;
  // The names of what only one has; calls both(a, b) for what both have.
  template <class T, class Both>
  void _pair(const char* removed, const char* added, const char* kind, const std::vector<T>& a,
             const std::vector<T>& b, Both both) {
    ForEachPair(a, b, [&](const T* in_a, const T* in_b) {
      if (in_a != nullptr && in_b != nullptr) {
        both(*in_a, *in_b);
      } else if (in_a != nullptr) {
        _add(removed, kind, in_a->name, kThere, "");
      } else if (in_b != nullptr) {
        _add(added, kind, in_b->name, "", kThere);
      }
    });
  }
  void _compareNodes();
  void _compareNode(const FbxNodeFacts& a, const FbxNodeFacts& b);
  void _compareSettings();
  void _compareProperties(const FbxNodeFacts& a, const FbxNodeFacts& b);
  void _compareMesh(const FbxMeshFacts& a_facts, const FbxMeshFacts& b_facts);
  void _comparePolygons(const std::string& name, const FbxMesh& a, const FbxMesh& b);
  void _compareCorners(const char* code, const std::string& name, const FbxMesh& a,
                       const FbxMesh& b, FbxCornerRows FbxMesh::*rows);
  void _compareClusters(const std::string& name, const FbxMesh& a, const FbxMesh& b);
  void _compareMaterial(const FbxMaterialFacts& a, const FbxMaterialFacts& b);
  void _compareTextures();
  void _compareTake(const FbxTakeFacts& a, const FbxTakeFacts& b);
  void _compareCurve(const std::string& take, const FbxCurveFacts& a, const FbxCurveFacts& b);

  const FbxContents& _a;
  const FbxContents& _b;
  double _tolerance;
  std::vector<Difference> _found;
};

std::string NumbersText(const std::vector<double>& numbers) {
  std::string text;
  for (const double number : numbers) text += (text.empty() ? "" : " ") + Short(number);
  return text;
}

std::vector<double> NumbersOf(const Point& point) { return {point.begin(), point.end()}; }

std::string ParentOf(const FbxFacts& facts, const FbxNodeFacts& node) {
  return node.parent < 0 ? "the scene" : facts.nodes[static_cast<std::size_t>(node.parent)].name;
}

void AppendRow(const FbxRows& rows, std::size_t i, std::vector<double>* row) {
  const auto first = rows.numbers.begin() + static_cast<std::ptrdiff_t>(i * rows.width);
  row->insert(row->end(), first, first + static_cast<std::ptrdiff_t>(rows.width));
}

RowSource PointsOf(const FbxMesh& mesh) {
  return {mesh.points.count(), [&mesh](std::size_t i) {
            std::vector<double> row;
            AppendRow(mesh.points, i, &row);
            return row;
          }};
}

// Numbers that stand for names in both files.
using NameNumbers = BtHashMap<std::string, double>;
double NumberOf(const std::string& name, NameNumbers* numbers) {
  return numbers->try_emplace(name, static_cast<double>(numbers->size())).first->second;
}

// The middle of a polygon, and the number of its corners.
std::vector<double> MiddleOf(const FbxMesh& mesh, std::size_t polygon) {
  const std::size_t first = polygon == 0 ? 0 : mesh.ends[polygon - 1];
  const auto count = static_cast<double>(mesh.ends[polygon] - first);
  std::vector<double> row = {0, 0, 0, count};
  for (std::size_t k = first; k < mesh.ends[polygon]; ++k) {
    for (std::size_t c = 0; c < 3; ++c) {
      row[c] += mesh.points.numbers[3 * mesh.corners[k] + c] / count;
    }
  }
  return row;
}

// Those of each polygon and, with `names`, its material. Materials are farther apart than the
// tolerance.
RowSource PolygonsOf(const FbxMesh& mesh, double tolerance, NameNumbers* names) {
  std::vector<double> materials;
  for (const std::string& material : mesh.materials) {
    if (names != nullptr) materials.push_back(NumberOf(material, names) * (1 + 3 * tolerance));
  }
  return {mesh.ends.size(), [&mesh, materials](std::size_t i) {
            std::vector<double> row = MiddleOf(mesh, i);
            double material = -1;
            if (!materials.empty() && !mesh.of_polygons.empty()) {
              const std::size_t at = mesh.of_polygons.size() == 1 ? 0 : i;
              material = materials[static_cast<std::size_t>(mesh.of_polygons[at])];
            }
            row.push_back(material);
            return row;
          }};
}

// Of each corner its point and its row.
RowSource RowsOfCorners(const FbxMesh& mesh, const FbxCornerRows& rows) {
  return {rows.of_corner.size(), [&mesh, &rows](std::size_t i) {
            std::vector<double> row;
            AppendRow(mesh.points, mesh.corners[i], &row);
            AppendRow(rows.rows, rows.of_corner[i], &row);
            return row;
          }};
}

// The weights of all bones, with the place or else the number of the point.
std::vector<std::vector<double>> WeightsOf(const FbxMesh& mesh, bool by_place, double tolerance,
                                           NameNumbers* names) {
  std::vector<std::vector<double>> rows;
  for (const FbxCluster& cluster : mesh.clusters) {
    const double bone = NumberOf(cluster.name, names) * (1 + 3 * tolerance);
    for (std::size_t i = 0; i < cluster.points.size(); ++i) {
      if (std::fabs(cluster.weights[i]) <= tolerance) continue;
      std::vector<double> row = {bone, cluster.weights[i]};
      if (by_place) {
        AppendRow(mesh.points, static_cast<std::size_t>(cluster.points[i]), &row);
      } else {
        row.push_back(cluster.points[i] * (1 + 3 * tolerance));
      }
      rows.push_back(std::move(row));
    }
  }
  return rows;
}

RowSource RowsFrom(const Rows& rows) {
  return {rows.size(), [&rows](std::size_t i) { return rows[i]; }};
}

RowSource ShapeRows(const FbxShapeRows& shape) {
  return {shape.points.size(), [&shape](std::size_t i) {
            std::vector<double> row = {shape.points[i]};
            AppendRow(shape.offsets, i, &row);
            return row;
          }};
}

// What is equal at both ends is passed over: what remains of large meshes is little, mostly.
Missing FbxDiffer::_missing(const RowSource& a, const RowSource& b) const {
  const std::size_t most = std::min(a.count, b.count);
  std::size_t first = 0;
  while (first < most && _near(a.row(first), b.row(first))) ++first;
  std::size_t last = 0;
  while (last < most - first && _near(a.row(a.count - 1 - last), b.row(b.count - 1 - last))) ++last;
  const auto middle = [first, last](const RowSource& source) {
    Rows rows;
    for (std::size_t i = first; i + last < source.count; ++i) rows.push_back(source.row(i));
    return rows;
  };
  const Rows in_a = middle(a);
  const Rows in_b = middle(b);
  return {CountMissing(in_a, in_b, _tolerance), CountMissing(in_b, in_a, _tolerance)};
}

std::vector<Difference> FbxDiffer::run() {
  _compareSettings();
  _compareNodes();
  _pair("mesh-removed", "mesh-added", "mesh", _a.facts.meshes, _b.facts.meshes,
        [this](const auto& a, const auto& b) { _compareMesh(a, b); });
  _pair("material-removed", "material-added", "material", _a.facts.materials, _b.facts.materials,
        [this](const auto& a, const auto& b) { _compareMaterial(a, b); });
  _compareTextures();
  _pair("take-removed", "take-added", "take", _a.facts.takes, _b.facts.takes,
        [this](const auto& a, const auto& b) { _compareTake(a, b); });
  return std::move(_found);
}

void FbxDiffer::_compareNodes() {
  _pair("node-removed", "node-added", "node", _a.facts.nodes, _b.facts.nodes,
        [this](const auto& a, const auto& b) { _compareNode(a, b); });
}

void FbxDiffer::_compareNode(const FbxNodeFacts& a, const FbxNodeFacts& b) {
  _compare("node-kind", "node", a.name, a.kind, b.kind);
  _compare("node-reparented", "node", a.name, ParentOf(_a.facts, a), ParentOf(_b.facts, b));
  _compare("node-turned", "node", a.name, a.rotation_order, b.rotation_order);
  const struct {
    const char* code;
    Point FbxNodeFacts::*values;
  } rows[] = {{"node-moved", &FbxNodeFacts::translation},
              {"node-turned", &FbxNodeFacts::pre_rotation},
              {"node-turned", &FbxNodeFacts::rotation},
              {"node-scaled", &FbxNodeFacts::scaling}};
  for (const auto& [code, values] : rows) {
    const std::vector<double> in_a = NumbersOf(a.*values);
    const std::vector<double> in_b = NumbersOf(b.*values);
    if (!_near(in_a, in_b)) _add(code, "node", a.name, NumbersText(in_a), NumbersText(in_b));
  }
  _compareProperties(a, b);
}

void FbxDiffer::_compareSettings() {
  const auto visit = [this](const FbxPropertyText* a, const FbxPropertyText* b) {
    if (a != nullptr) {
      _compare("settings-changed", "scene", a->name, a->text, b == nullptr ? "none" : b->text);
    } else if (b != nullptr) {
      _add("settings-changed", "scene", b->name, "none", b->text);
    }
  };
  ForEachPair(SettingsOf(_a), SettingsOf(_b), visit);
}

void FbxDiffer::_compareProperties(const FbxNodeFacts& a, const FbxNodeFacts& b) {
  const auto told = [](const FbxPropertyText& property) {
    return property.name + " " + property.text;
  };
  const auto visit = [&](const FbxPropertyText* in_a, const FbxPropertyText* in_b) {
    if (in_a != nullptr && in_b != nullptr) {
      const bool is_near = !in_a->numbers.empty() && _near(in_a->numbers, in_b->numbers);
      if (!is_near) _compare("property-changed", "node", a.name, told(*in_a), told(*in_b));
    } else if (in_a != nullptr) {
      _add("property-removed", "node", a.name, told(*in_a), "");
    } else if (in_b != nullptr) {
      _add("property-added", "node", a.name, "", told(*in_b));
    }
  };
  ForEachPair(UserPropertiesOf(_a.records, a.record), UserPropertiesOf(_b.records, b.record),
              visit);
}

void FbxDiffer::_compareMesh(const FbxMeshFacts& a_facts, const FbxMeshFacts& b_facts) {
  FbxMesh a;
  FbxMesh b;
  // Both were found to be whole before.
  if (!LoadFbxMesh(_a.records, a_facts, &a) || !LoadFbxMesh(_b.records, b_facts, &b)) return;
  const std::string& name = a_facts.name;
  _compare("vertex-count", "mesh", name, std::to_string(a_facts.vertices),
           std::to_string(b_facts.vertices));
  _compare("polygon-count", "mesh", name, std::to_string(a_facts.polygons),
           std::to_string(b_facts.polygons));
  _addMissing("vertices-moved", "mesh", name, _missing(PointsOf(a), PointsOf(b)));
  _comparePolygons(name, a, b);
  _compareCorners("corner-normals", name, a, b, &FbxMesh::normals);
  _compareCorners("texture-coordinates", name, a, b, &FbxMesh::coordinates);
  _compareClusters(name, a, b);
  _pair("shape-removed", "shape-added", "shape", a.shapes, b.shapes,
        [this](const FbxShapeRows& in_a, const FbxShapeRows& in_b) {
          _addMissing("shape-changed", "shape", in_a.name,
                      _missing(ShapeRows(in_a), ShapeRows(in_b)));
        });
}

void FbxDiffer::_comparePolygons(const std::string& name, const FbxMesh& a, const FbxMesh& b) {
  const Missing changed =
      _missing(PolygonsOf(a, _tolerance, nullptr), PolygonsOf(b, _tolerance, nullptr));
  _addMissing("polygons-changed", "mesh", name, changed);
  NameNumbers names;
  const Missing with_materials =
      _missing(PolygonsOf(a, _tolerance, &names), PolygonsOf(b, _tolerance, &names));
  const int others = with_materials.only_a - changed.only_a;
  if (others > 0) {
    _add("polygon-materials", "mesh", name, "",
         std::to_string(others) + " polygons have another material");
  }
}

void FbxDiffer::_compareCorners(const char* code, const std::string& name, const FbxMesh& a,
                                const FbxMesh& b, FbxCornerRows FbxMesh::*rows) {
  _addMissing(code, "mesh", name, _missing(RowsOfCorners(a, a.*rows), RowsOfCorners(b, b.*rows)));
}

void FbxDiffer::_compareClusters(const std::string& name, const FbxMesh& a, const FbxMesh& b) {
  NameNumbers names;
  const bool by_place = a.points.count() != b.points.count();
  const Rows in_a = WeightsOf(a, by_place, _tolerance, &names);
  const Rows in_b = WeightsOf(b, by_place, _tolerance, &names);
  _addMissing("weights-changed", "mesh", name, _missing(RowsFrom(in_a), RowsFrom(in_b)));
  ForEachPair(a.clusters, b.clusters, [&](const FbxCluster* of_a, const FbxCluster* of_b) {
    if (of_a == nullptr || of_b == nullptr || _near(of_a->bind, of_b->bind)) return;
    _add("bind-changed", "mesh", name, "", "the bind pose of " + of_a->name);
  });
}

void FbxDiffer::_compareMaterial(const FbxMaterialFacts& a, const FbxMaterialFacts& b) {
  std::map<std::string, std::vector<double>> others(b.properties.begin(), b.properties.end());
  for (const auto& [property, values] : a.properties) {
    const std::vector<double> other = others[property];
    others.erase(property);
    if (_near(values, other)) continue;
    _add("material-changed", "material", a.name, property + " " + NumbersText(values),
         property + " " + NumbersText(other));
  }
  for (const auto& [property, values] : others) {
    _add("material-changed", "material", a.name, "", property + " " + NumbersText(values));
  }
}

void FbxDiffer::_compareTextures() {
  const auto uses_of = [](const FbxTextureFacts& texture) {
    std::string text;
    for (const std::string& use : texture.uses) text += (text.empty() ? "" : ", ") + use;
    return text.empty() ? "no material" : text;
  };
  _pair("texture-removed", "texture-added", "texture", _a.facts.textures, _b.facts.textures,
        [&](const FbxTextureFacts& a, const FbxTextureFacts& b) {
          _compare("texture-changed", "texture", a.name, a.file, b.file);
          _compare("texture-connected", "texture", a.name, uses_of(a), uses_of(b));
        });
  _pair("texture-removed", "texture-added", "picture", _a.facts.videos, _b.facts.videos,
        [this](const FbxVideoFacts& a, const FbxVideoFacts& b) {
          if (a.embedded_bytes == b.embedded_bytes && a.hash == b.hash) return;
          _add("picture-changed", "picture", a.name, std::to_string(a.embedded_bytes) + " bytes",
               std::to_string(b.embedded_bytes) + " bytes");
        });
}

void FbxDiffer::_compareTake(const FbxTakeFacts& a, const FbxTakeFacts& b) {
  const auto span = [](const FbxTakeFacts& take) {
    return Short(static_cast<double>(take.start) / kUnitsOfSecond) + " s to " +
           Short(static_cast<double>(take.stop) / kUnitsOfSecond) + " s";
  };
  if (a.start != b.start || a.stop != b.stop) {
    _add("take-span", "take", a.name, span(a), span(b));
  }
  _pair("curve-removed", "curve-added", "curve", a.curves, b.curves,
        [&](const auto& in_a, const auto& in_b) { _compareCurve(a.name, in_a, in_b); });
}

void FbxDiffer::_compareCurve(const std::string& take, const FbxCurveFacts& a,
                              const FbxCurveFacts& b) {
  std::vector<double> times[2];
  std::vector<double> values[2];
  if (!LoadFbxCurve(_a.records, a, &times[0], &values[0]) ||
      !LoadFbxCurve(_b.records, b, &times[1], &values[1])) {
    return;
  }
  if (times[0] == times[1] && _near(values[0], values[1])) return;
  const auto span = [](const std::vector<double>& numbers, double unit) {
    const auto [least, most] = std::ranges::minmax(numbers);
    return Short(least / unit) + (least == most ? "" : " to " + Short(most / unit));
  };
  const auto text = [&](std::size_t i) {
    return Counted(static_cast<long long>(times[i].size()), "key", "keys") + " at " +
           span(times[i], kUnitsOfSecond) + " s, values " + span(values[i], 1);
  };
  _add("keys-changed", "curve", take + ": " + a.name, text(0), text(1));
}

}  // namespace

bool CheckFbxLists(const FbxContents& contents) {
  const FbxFacts& facts = contents.facts;
  for (const FbxMeshFacts& mesh : facts.meshes) {
    FbxMesh loaded;
    if (!LoadFbxMesh(contents.records, mesh, &loaded)) return false;
  }
  for (const FbxTakeFacts& take : facts.takes) {
    for (const FbxCurveFacts& curve : take.curves) {
      std::vector<double> times;
      std::vector<double> values;
      if (!LoadFbxCurve(contents.records, curve, &times, &values)) return false;
    }
  }
  return true;
}

std::vector<Difference> DiffFbx(const FbxContents& a, const FbxContents& b, double tolerance) {
  return FbxDiffer(a, b, tolerance).run();
}
