#include "fbxlists.h"

#include <algorithm>
#include <cmath>

#include "Bt/btexcept.h"

namespace {

constexpr std::size_t kNoRecord = FbxRecordFile::kNone;
// Packed lists can say much with few bytes, so what they may say is limited.
constexpr std::uint64_t kMaxNumbers = std::uint64_t{1} << 27;
constexpr std::size_t kNumbersOfKey = 3;  // time, value, kind

// Unpacks the lists of one mesh.
class MeshLoader {
 public:
  MeshLoader(const FbxRecordFile& file, const FbxMeshFacts& facts, FbxMesh* mesh)
      : _file(file), _facts(facts), _mesh(*mesh) {}

  bool load() {
    return _loadPolygons() && _loadCorners("LayerElementNormal", "Normals", 3, &_mesh.normals) &&
           _loadCorners("LayerElementUV", "UV", 2, &_mesh.coordinates) && _loadMaterials() &&
           _loadClusters() && _loadShapes();
  }

 private:
  [[nodiscard]] bool _fail(const char* what) const {
    return BtFail("The file is damaged: %s of mesh '%s'.", what, _facts.name.c_str());
  }
  [[nodiscard]] std::size_t _child(std::size_t parent, const std::string& name) const {
    return parent == kNoRecord ? kNoRecord : _file.child(parent, name);
  }
  bool _numbers(std::size_t record, std::vector<double>* numbers) {
    if (record == kNoRecord) return true;
    _count += _file.numberCount(record);
    if (_count > kMaxNumbers) {
      return BtFail("Mesh '%s' has more than %llu numbers: it is too large to be compared.",
                    _facts.name.c_str(), static_cast<unsigned long long>(kMaxNumbers));
    }
    if (!_file.numbers(record, numbers)) return false;
    return std::ranges::all_of(*numbers, [](double x) { return std::isfinite(x); }) ||
           _fail("a number");
  }
  // Indices of rows; false where there is no such row.
  bool _indices(std::size_t record, std::size_t count, std::vector<double>* indices) {
    if (!_numbers(record, indices)) return false;
    return std::ranges::all_of(*indices,
                               [count](double index) {
                                 return index >= 0 && index < static_cast<double>(count);
                               }) ||
           _fail("an index");
  }
  bool _loadPolygons();
  bool _loadCorners(const std::string& element, const std::string& name, std::size_t width,
                    FbxCornerRows* rows);
  bool _loadMaterials();
  bool _loadClusters();
  bool _loadShapes();

  const FbxRecordFile& _file;
  const FbxMeshFacts& _facts;
  FbxMesh& _mesh;
  std::uint64_t _count = 0;  // of numbers
};

bool MeshLoader::_loadPolygons() {
  const std::size_t geometry = _facts.records.geometry;
  std::vector<double> corners;
  if (!_numbers(_child(geometry, "Vertices"), &_mesh.points.numbers) ||
      !_numbers(_child(geometry, "PolygonVertexIndex"), &corners)) {
    return false;
  }
  _mesh.corners.reserve(corners.size());
  for (const double corner : corners) {
    const double point = corner < 0 ? -corner - 1 : corner;  // the last of a polygon
    if (point >= static_cast<double>(_mesh.points.count())) return _fail("a polygon");
    _mesh.corners.push_back(static_cast<std::size_t>(point));
    if (corner < 0) _mesh.ends.push_back(_mesh.corners.size());
  }
  return corners.empty() || corners.back() < 0 || _fail("a polygon");
}

// Rows are those of points or of corners, directly or by index.
bool MeshLoader::_loadCorners(const std::string& element, const std::string& name,
                              std::size_t width, FbxCornerRows* rows) {
  const std::size_t layer = _child(_facts.records.geometry, element);
  std::vector<double> indices;
  rows->rows.width = width;
  if (!_numbers(_child(layer, name), &rows->rows.numbers)) return false;
  if (!_indices(_child(layer, name + "Index"), rows->rows.count(), &indices)) return false;
  if (rows->rows.count() == 0) return true;
  const std::string_view mapping = _file.value(_child(layer, "MappingInformationType"), 0).bytes;
  const bool by_point = mapping.starts_with("ByVert");
  const std::size_t places = indices.empty() ? rows->rows.count() : indices.size();
  if (places < (by_point ? _mesh.points.count() : _mesh.corners.size())) return _fail(name.c_str());
  rows->of_corner.reserve(_mesh.corners.size());
  for (std::size_t i = 0; i < _mesh.corners.size(); ++i) {
    const std::size_t place = by_point ? _mesh.corners[i] : i;
    rows->of_corner.push_back(indices.empty() ? place : static_cast<std::size_t>(indices[place]));
  }
  return true;
}

bool MeshLoader::_loadMaterials() {
  _mesh.materials = _facts.records.materials;
  const std::size_t layer = _child(_facts.records.geometry, "LayerElementMaterial");
  if (!_indices(_child(layer, "Materials"), _mesh.materials.size(), &_mesh.of_polygons)) {
    return false;
  }
  const std::size_t count = _mesh.of_polygons.size();
  return count <= 1 || count == _mesh.ends.size() || _fail("the materials");
}

bool MeshLoader::_loadClusters() {
  for (const FbxClusterRecords& records : _facts.records.clusters) {
    FbxCluster cluster;
    cluster.name = records.bone;
    if (!_indices(_child(records.cluster, "Indexes"), _mesh.points.count(), &cluster.points) ||
        !_numbers(_child(records.cluster, "Weights"), &cluster.weights) ||
        !_numbers(_child(records.cluster, "Transform"), &cluster.bind) ||
        !_numbers(_child(records.cluster, "TransformLink"), &cluster.bind)) {
      return false;
    }
    if (cluster.points.size() != cluster.weights.size()) return _fail("the weights");
    _mesh.clusters.push_back(std::move(cluster));
  }
  return true;
}

bool MeshLoader::_loadShapes() {
  for (const auto& [name, record] : _facts.records.shapes) {
    FbxShapeRows shape;
    shape.name = name;
    if (!_indices(_child(record, "Indexes"), _mesh.points.count(), &shape.points) ||
        !_numbers(_child(record, "Vertices"), &shape.offsets.numbers)) {
      return false;
    }
    if (shape.points.size() != shape.offsets.count()) return _fail("a shape");
    _mesh.shapes.push_back(std::move(shape));
  }
  return true;
}

}  // namespace

bool LoadFbxMesh(const FbxRecordFile& file, const FbxMeshFacts& facts, FbxMesh* mesh) {
  return MeshLoader(file, facts, mesh).load();
}

bool LoadFbxCurve(const FbxRecordFile& file, const FbxCurveFacts& facts, std::vector<double>* times,
                  std::vector<double>* values) {
  for (const std::size_t record : {facts.times, facts.values}) {
    if (record != kNoRecord && file.numberCount(record) > kMaxNumbers) {
      return BtFail("The curve '%s' is too long to be compared.", facts.name.c_str());
    }
  }
  if (!file.numbers(facts.times, times)) return false;
  if (facts.times != facts.values) {
    if (!file.numbers(facts.values, values)) return false;
  } else {
    const std::vector<double> keys = std::move(*times);
    times->clear();
    for (std::size_t i = 0; i + 1 < keys.size(); i += kNumbersOfKey) {
      times->push_back(keys[i]);
      values->push_back(keys[i + 1]);
    }
  }
  if (times->size() != values->size()) {
    return BtFail("The file is damaged: the keys of '%s'.", facts.name.c_str());
  }
  if (values->empty()) values->push_back(facts.constant);
  // Some readers want keys of an angle that does not change, too.
  const double first = values->front();
  if (std::ranges::all_of(*values, [first](double value) { return value == first; })) {
    times->assign(1, 0);
    values->assign(1, first);
  }
  return true;
}
