#include "Fbx/kfbxmesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>

#include "Bt/btassert.h"

namespace {

constexpr std::int32_t kNoUv = -1;

bool AllBelow(std::span<const std::int32_t> indices, std::size_t limit) {
  return std::all_of(indices.begin(), indices.end(), [limit](std::int32_t index) {
    return index >= 0 && static_cast<std::size_t>(index) < limit;
  });
}

template <class Number>
bool AllFinite(const std::vector<Number>& values) {
  return std::all_of(values.begin(), values.end(), [](Number v) { return std::isfinite(v); });
}

}  // namespace

void KFbxMesh::BeginPolygon(int material) {
  _polygon_start = _vertices.size();
  _materials.push_back(material);
}

void KFbxMesh::AddPolygon(int control_point, int uv) {
  BtAssert(!_materials.empty());
  _vertices.push_back(control_point);
  _uv_indices.push_back(uv);
}

void KFbxMesh::EndPolygon() {
  BtAssert(!_materials.empty());
  if (_vertices.size() - _polygon_start < 3) {
    _vertices.resize(_polygon_start);
    _uv_indices.resize(_polygon_start);
    _materials.pop_back();
    return;
  }
  _vertices.back() = ~_vertices.back();
}

void KFbxMesh::SetPolygons(std::vector<std::int32_t> vertices,
                           std::vector<std::int32_t> materials) {
  _vertices = std::move(vertices);
  _materials = std::move(materials);
}

void KFbxMesh::SetNormals(EMappingMode mapping, std::vector<double> normals,
                          std::vector<std::int32_t> indices) {
  _normal_mapping = mapping;
  _normals = std::move(normals);
  _normal_indices = std::move(indices);
}

void KFbxMesh::SetUVs(const char* set_name, std::vector<float> uvs) {
  _uv_set = set_name;
  _uvs = std::move(uvs);
}

void KFbxMesh::SetUVs(const char* set_name, std::vector<float> uvs,
                      std::vector<std::int32_t> indices) {
  SetUVs(set_name, std::move(uvs));
  _uv_indices = std::move(indices);
}

bool KFbxMesh::AddDeformer(KFbxDeformer* deformer) {
  if (deformer == nullptr ||
      std::find(_deformers.begin(), _deformers.end(), deformer) != _deformers.end()) {
    return false;
  }
  _deformers.push_back(deformer);
  return true;
}

KFbxDeformer* KFbxMesh::GetDeformer(int i) const {
  BtAssert(i >= 0 && i < GetDeformerCount());
  return _deformers[static_cast<std::size_t>(i)];
}

const char* KFbxMesh::Complete(int materials) {
  _completeUVs();
  if (const char* fault = _checkPolygons(materials)) return fault;
  return _checkLayers();
}

void KFbxMesh::_completeUVs() {
  if (std::all_of(_uv_indices.begin(), _uv_indices.end(),
                  [](std::int32_t index) { return index == kNoUv; })) {
    _uv_indices.clear();
    return;
  }
  if (std::find(_uv_indices.begin(), _uv_indices.end(), kNoUv) == _uv_indices.end()) return;
  const auto shared = static_cast<std::int32_t>(_uvs.size() / 2);
  _uvs.insert(_uvs.end(), 2, 0.0F);
  std::replace(_uv_indices.begin(), _uv_indices.end(), kNoUv, shared);
}

const char* KFbxMesh::_checkPolygons(int materials) const {
  if (_points.size() % 3 != 0) return "a point is cut off";
  if (!AllFinite(_points)) return "a point is not finite";
  const auto points = static_cast<std::int64_t>(_points.size() / 3);
  std::size_t polygons = 0;
  for (const std::int32_t vertex : _vertices) {
    polygons += vertex < 0 ? 1 : 0;
    if ((vertex < 0 ? ~vertex : vertex) >= points) {
      return "a corner names a point that is not there";
    }
  }
  if (!_vertices.empty() && _vertices.back() >= 0) return "its last polygon has no end";
  if (polygons != _materials.size()) return "its polygons and their materials differ in number";
  // A node without materials draws all polygons in a reader's default material.
  if (!AllBelow(_materials, static_cast<std::size_t>(std::max(materials, 1)))) {
    return "a polygon names a material that is not there";
  }
  return nullptr;
}

const char* KFbxMesh::_checkLayers() const {
  if (!_uv_indices.empty() && _uv_indices.size() != _vertices.size()) {
    return "its corners and their texture coordinates differ in number";
  }
  if (!AllBelow(_uv_indices, _uvs.size() / 2)) {
    return "a corner names a texture coordinate that is not there";
  }
  if (!AllFinite(_uvs)) return "a texture coordinate is not finite";
  if (!AllFinite(_normals)) return "a normal is not finite";
  if (!AllBelow(_normal_indices, _normals.size() / 3)) return "a normal is not there";
  const std::size_t wanted =
      _normal_mapping == eBY_CONTROL_POINT ? _points.size() / 3 : _vertices.size();
  const std::size_t given = _normal_indices.empty() ? _normals.size() / 3 : _normal_indices.size();
  if (!_normals.empty() && given != wanted) return "its normals are not one for each place";
  return nullptr;
}
