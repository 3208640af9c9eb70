#include "shapearrays.h"

#include <pybind11/stl.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <optional>

#include "Ba/bamodeldatapolyset.h"
#include "Ba/baposer.h"
#include "Bt/btcoordsys.h"
#include "Bt/btexcept.h"
#include "arrays.h"
#include "coincidentpoints.h"
#include "faces.h"
#include "normals.h"

namespace {

using Shapes = std::map<std::pair<std::string, std::string>, Shape>;

std::array<double, 3> PointOf(const float* xyz) {
  return {static_cast<double>(xyz[0]), static_cast<double>(xyz[1]), static_cast<double>(xyz[2])};
}

void Append(const std::array<double, 3>& point, std::vector<float>* floats) {
  for (const double c : point) floats->push_back(static_cast<float>(c));
}

// Gathers what one body adds to a mesh.
class ShapeGatherer {
 public:
  ShapeGatherer(const BaBody& body, const BaModel& model, const Bt4X4DoubleMat* to_world,
                MeshData* mesh)
      : _body(body),
        _model(model),
        _to_world(to_world),
        _first(static_cast<std::int32_t>(mesh->points.size() / 3)),
        _mesh(mesh) {}

  void gather() {
    const BaModelData_PolySet set(&_body);
    for (const BaMDPoint& point : set.vertices()) {
      const float xyz[] = {point.x, point.y, point.z};
      Append(_to_world == nullptr ? PointOf(xyz) : BtTransformPoint(PointOf(xyz), *_to_world),
             &_mesh->points);
    }
    _mesh->vertex_bodies.resize(_mesh->points.size() / 3, _body.id());
    _addWeights(set);
    _addPolygons(set.polygons());
    _addPolygons(set.texturedPolygons());
    _addStrips(set.tMeshes());
    _addStrips(set.texturedTMeshes());
  }

 private:
  void _addCorner(const BaModelData_PolyList::Polygon& polygon, std::size_t i) {
    constexpr float kNone = std::numeric_limits<float>::quiet_NaN();
    _mesh->corners.push_back(_first + polygon.vertices[i]);
    const bool textured = !polygon.t_coords.empty();
    _mesh->has_uvs |= textured;
    _mesh->uvs.push_back(textured ? polygon.t_coords[i].u : kNone);
    _mesh->uvs.push_back(textured ? polygon.t_coords[i].v : kNone);
  }

  void _end(const BaModelData_PolyList::Polygon& polygon, std::size_t size) {
    _mesh->polygon_sizes.push_back(static_cast<std::int32_t>(size));
    _mesh->material_ids.push_back(polygon.material_id);
  }

  void _addPolygons(const BaModelData_PolyList& list) {
    for (int i = 0; i < list.count(); ++i) {
      const BaModelData_PolyList::Polygon polygon = list[i];
      if (polygon.vertices.size() < 3) continue;
      for (std::size_t c = 0; c < polygon.vertices.size(); ++c) _addCorner(polygon, c);
      _end(polygon, polygon.vertices.size());
    }
  }

  // Triangles of alternating sense; those that repeat a vertex have no face.
  void _addStrips(const BaModelData_PolyList& list) {
    for (int i = 0; i < list.count(); ++i) {
      const BaModelData_PolyList::Polygon strip = list[i];
      const auto& v = strip.vertices;
      for (std::size_t c = 0; c + 2 < v.size(); ++c) {
        if (v[c] == v[c + 1] || v[c + 1] == v[c + 2] || v[c] == v[c + 2]) continue;
        const std::size_t odd = c % 2;
        for (const std::size_t at : {c, c + 1 + odd, c + 2 - odd}) _addCorner(strip, at);
        _end(strip, 3);
      }
    }
  }

  // The weights of flex effects that count, by body: as a conversion takes them.
  [[nodiscard]] std::map<int, double> _flexOf(const BaVertexEffects& effects) const {
    std::map<int, double> flex;
    for (const auto* effect = effects.first(); effect != nullptr; effect = effect->next()) {
      if (effect->type() == BaFlexEffect && _body.parentId() > 0) {
        flex[_body.parentId()] += static_cast<const BaVertexFlexEffect*>(effect)->weight;
      } else if (effect->type() == BaFlex2Effect) {
        const auto* const flex2 = static_cast<const BaVertexFlex2Effect*>(effect);
        if (flex2->body_id > 0 && _model.findBody(flex2->body_id) != nullptr) {
          flex[flex2->body_id] += flex2->weight;
        }
      }
    }
    std::erase_if(flex, [](const auto& entry) { return !(entry.second > 0); });
    return flex;
  }

  void _addWeights(const BaModelData_PolySet& set) {
    std::size_t next = 0;
    Shapes shapes;
    const auto count = static_cast<std::int32_t>(set.vertices().size());
    for (std::int32_t i = 0; i < count; ++i) {
      const bool moved = next < set.effects().size() && set.effects()[next].vertex == i;
      if (!moved) {
        _mesh->weights.push_back({_first + i, _body.id(), 1});
        continue;
      }
      const BaVertexEffects& effects = *set.effects()[next++].effects;
      _addWeightsOf(_first + i, _flexOf(effects));
      _addOffsets(_first + i, effects, &shapes);
    }
    for (auto& [name, shape] : shapes) _mesh->shapes.push_back(std::move(shape));
  }

  void _addWeightsOf(std::int32_t vertex, std::map<int, double> flex) {
    double sum = 0;
    for (const auto& [body, weight] : flex) sum += weight;
    if (sum > 1) {
      for (auto& [body, weight] : flex) weight /= sum;
    }
    const double own = std::max(1 - sum, 0.0) + flex[_body.id()];
    flex[_body.id()] = own;
    for (const auto& [body, weight] : flex) {
      if (weight > 0) _mesh->weights.push_back({vertex, body, static_cast<float>(weight)});
    }
  }

  void _addOffsets(std::int32_t vertex, const BaVertexEffects& effects, Shapes* shapes) const {
    for (const auto* effect = effects.first(); effect != nullptr; effect = effect->next()) {
      if (effect->type() != BaBlendEffect) continue;
      const auto* const blend = static_cast<const BaVertexBlendEffect*>(effect);
      const std::string group(blend->slider_group.view());
      const std::string slider(blend->slider_name.view());
      Shape& shape = (*shapes)[{group, slider}];
      shape.group = group;
      shape.slider = slider;
      shape.vertices.push_back(vertex);
      const std::array<double, 3> offset = PointOf(blend->offset.data());
      Append(_to_world == nullptr ? offset : BtTransformDirection(offset, *_to_world),
             &shape.offsets);
    }
  }

  const BaBody& _body;
  const BaModel& _model;
  const Bt4X4DoubleMat* _to_world;
  std::int32_t _first;  // vertex
  MeshData* _mesh;
};

// Shapes of one slider on several bodies are one.
void JoinShapes(MeshData* mesh) {
  Shapes joined;
  for (Shape& shape : mesh->shapes) {
    Shape& all = joined[{shape.group, shape.slider}];
    all.group = shape.group;
    all.slider = shape.slider;
    all.vertices.insert(all.vertices.end(), shape.vertices.begin(), shape.vertices.end());
    all.offsets.insert(all.offsets.end(), shape.offsets.begin(), shape.offsets.end());
  }
  mesh->shapes.clear();
  for (auto& [name, shape] : joined) mesh->shapes.push_back(std::move(shape));
}

// As kestrix.Mesh has it. The arrays take over the memory.
py::object ToPythonMesh(MeshData mesh) {
  const auto n_points = static_cast<py::ssize_t>(mesh.vertex_bodies.size());
  const auto n_corners = static_cast<py::ssize_t>(mesh.corners.size());
  py::dict shapes;
  for (Shape& shape : mesh.shapes) {
    const auto n = static_cast<py::ssize_t>(shape.vertices.size());
    shapes[py::make_tuple(TextOf(shape.group), TextOf(shape.slider))] = py::make_tuple(
        ToArray(std::move(shape.vertices)), ToArray(std::move(shape.offsets), {n, 3}));
  }
  return py::module_::import("kestrix._types")
      .attr("Mesh")(
          ToArray(std::move(mesh.points), {n_points, 3}), ToArray(std::move(mesh.polygon_sizes)),
          ToArray(std::move(mesh.corners)),
          mesh.has_uvs ? py::object(ToArray(std::move(mesh.uvs), {n_corners, 2})) : py::none(),
          ToArray(std::move(mesh.material_ids)), ToArray(std::move(mesh.vertex_bodies)),
          ToArray(std::move(mesh.weights)), shapes);
}

py::object MeshOf(const Body& body) {
  const Library library;
  const BaBody* const own = &body.part();
  const ModelPtr& model = body.owner();
  const auto mesh = std::make_shared<MeshData>();
  Call([=] { AddShape(*own, *model->object, nullptr, mesh.get()); });
  return ToPythonMesh(std::move(*mesh));
}

py::object WholeMeshOf(const ModelPtr& model) {
  const auto mesh = std::make_shared<MeshData>();
  Call([=] { *mesh = WholeMesh(*model->object, BaPoser(*model->object, nullptr)); });
  return ToPythonMesh(std::move(*mesh));
}

// The arrays that a mesh is made from, checked against each other.
struct MeshInput {
  InputArray<float> points;
  InputArray<std::int32_t> sizes;
  InputArray<std::int32_t> corners;
  std::optional<InputArray<float>> uvs;
  std::vector<int> materials;  // one, or one for each polygon

  void check() const {
    CheckShape(points, {-1, 3}, "points");
    CheckFinite(points, "points");
    CheckShape(sizes, {-1}, "polygon_sizes");
    CheckShape(corners, {-1}, "corners");
    long long sum = 0;
    for (py::ssize_t i = 0; i < sizes.size(); ++i) {
      if (sizes.at(i) < 3) throw py::value_error("a polygon has three corners or more");
      sum += sizes.at(i);
    }
    if (sum != corners.size()) throw py::value_error("polygon_sizes must come to len(corners)");
    for (py::ssize_t i = 0; i < corners.size(); ++i) {
      if (corners.at(i) < 0 || corners.at(i) >= points.shape(0)) {
        throw py::index_error("a corner is none of the points");
      }
    }
    if (!uvs) return;
    CheckShape(*uvs, {corners.size(), 2}, "uvs");
    CheckFinite(*uvs, "uvs");
  }
};

// Effects by vertex.
using Effects = std::map<std::int32_t, BaVertexEffects>;

void AddWeightsTo(const ModelPtr& model, const BaBody& body, py::ssize_t n_points,
                  const py::object& python, Effects* effects) {
  if (python.is_none()) return;
  const auto dtype = py::dtype::of<VertexWeight>();
  const auto array = py::array_t<VertexWeight, py::array::forcecast>(
      py::module_::import("numpy").attr("asarray")(python, dtype));
  if (array.ndim() != 1) throw py::value_error("weights must have the shape (n)");
  std::map<std::int32_t, double> sums;
  for (py::ssize_t i = 0; i < array.size(); ++i) {
    const VertexWeight& weight = array.at(i);
    if (weight.vertex < 0 || weight.vertex >= n_points) {
      throw py::index_error("a weight is of none of the points");
    }
    if (!(weight.weight >= 0) || !std::isfinite(weight.weight)) {
      throw py::value_error("weights must be 0 or above");
    }
    if (weight.body < 1 || model->object->findBody(weight.body) == nullptr) {
      throw py::key_error("there is no body " + std::to_string(weight.body));
    }
    sums[weight.vertex] += static_cast<double>(weight.weight);
  }
  constexpr double kRounding = 1e-3;
  for (const auto& [vertex, sum] : sums) {
    if (sum > 1 + kRounding) {
      throw py::value_error("the weights of vertex " + std::to_string(vertex) +
                            " come to more than 1");
    }
  }
  for (py::ssize_t i = 0; i < array.size(); ++i) {
    const VertexWeight& weight = array.at(i);
    if (weight.body == body.id() || weight.weight == 0) continue;
    const auto share = static_cast<double>(weight.weight) / std::max(sums[weight.vertex], 1.0);
    (*effects)[weight.vertex].add(
        std::make_unique<BaVertexFlex2Effect>(static_cast<float>(share), weight.body));
  }
}

bool HasSlider(const BaModel& model, const std::string& group, const std::string& slider) {
  const BaMDSliderGroup* const found = model.findSliderGroup(group.c_str());
  return found != nullptr && found->sliders().contains(slider.c_str());
}

void AddShapesTo(const BaModel& model, py::ssize_t n_points, const py::dict& shapes,
                 Effects* effects) {
  for (const auto& [key, value] : shapes) {
    const auto names = key.cast<py::tuple>();
    const auto arrays = value.cast<py::tuple>();
    if (names.size() != 2 || arrays.size() != 2) {
      throw py::value_error("shapes are {(group, slider): (vertices, offsets)}");
    }
    const std::string group = NameText(names[0], "the name of a slider group");
    const std::string slider = NameText(names[1], "the name of a slider");
    if (!HasSlider(model, group, slider)) {
      throw py::key_error("there is no slider " + slider + " of " + group);
    }
    const auto vertices = arrays[0].cast<InputArray<std::int32_t>>();
    const auto offsets = arrays[1].cast<InputArray<float>>();
    CheckShape(vertices, {-1}, "the vertices of a shape");
    CheckShape(offsets, {vertices.size(), 3}, "the offsets of a shape");
    CheckFinite(offsets, "the offsets of a shape");
    for (py::ssize_t i = 0; i < vertices.size(); ++i) {
      if (vertices.at(i) < 0 || vertices.at(i) >= n_points) {
        throw py::index_error("a shape moves none of the points");
      }
      auto blend = std::make_unique<BaVertexBlendEffect>();
      blend->slider_group = group.c_str();
      blend->slider_name = slider.c_str();
      for (py::ssize_t c = 0; c < 3; ++c) {
        blend->offset[static_cast<std::size_t>(c)] = offsets.at(i, c);
      }
      (*effects)[vertices.at(i)].add(std::move(blend));
    }
  }
}

// Adds polygons to a body; answers how many were left out since too few corners are apart.
class PolygonAdder {
 public:
  PolygonAdder(BaModel* model, const BaBody& body, const MeshInput& input, const Effects& effects)
      : _model(model), _body(body), _input(input), _effects(effects) {}

  int addAll() {
    int left_out = 0;
    const std::int32_t* const sizes = _input.sizes.data();
    std::size_t first = 0;
    for (py::ssize_t i = 0; i < _input.sizes.size(); ++i) {
      const auto end = first + static_cast<std::size_t>(sizes[i]);
      _collect(first, end);
      first = end;
      if (_corners.size() < 3) {
        ++left_out;
      } else {
        _add(_input.materials[_input.materials.size() == 1 ? 0 : static_cast<std::size_t>(i)]);
      }
    }
    return left_out;
  }

 private:
  [[nodiscard]] const float* _pointAt(std::size_t corner) const {
    return _input.points.data() + 3 * static_cast<std::size_t>(_input.corners.data()[corner]);
  }
  [[nodiscard]] bool _samePlace(std::size_t a, std::size_t b) const {
    return std::equal(_pointAt(a), _pointAt(a) + 3, _pointAt(b));
  }

  // The corners that stand at another place than the one before them.
  void _collect(std::size_t first, std::size_t end) {
    _corners.clear();
    for (std::size_t i = first; i < end; ++i) {
      if (_corners.empty() || !_samePlace(i, _corners.back())) _corners.push_back(i);
    }
    while (_corners.size() > 1 && _samePlace(_corners.front(), _corners.back())) {
      _corners.pop_back();
    }
  }

  void _add(int material_id) {
    BtDArray<BaVertex> vertices(static_cast<int>(_corners.size()));
    BtDArray<BaTextureCoords> coords(_input.uvs ? static_cast<int>(_corners.size()) : 0);
    for (std::size_t i = 0; i < _corners.size(); ++i) {
      const float* const point = _pointAt(_corners[i]);
      BaVertex& vertex = vertices[static_cast<int>(i)];
      vertex.setPosition(point[0], point[1], point[2]);
      const auto found = _effects.find(_input.corners.data()[_corners[i]]);
      if (found != _effects.end()) vertex.effects() = found->second;
      if (!_input.uvs) continue;
      const float* const uv = _input.uvs->data() + 2 * _corners[i];
      coords[static_cast<int>(i)] = {uv[0], uv[1]};
    }
    if (_input.uvs) {
      BaTexturedPolygon polygon(_body.id(), material_id);
      polygon.setVertices(std::move(vertices), std::move(coords));
      _model->addBodyTexturedPolygon(_body.id(), polygon);
    } else {
      BaPolygon polygon(_body.id(), material_id);
      polygon.setVertices(std::move(vertices));
      _model->addBodyPolygon(_body.id(), polygon);
    }
  }

  BaModel* _model;
  const BaBody& _body;
  const MeshInput& _input;
  const Effects& _effects;
  std::vector<std::size_t> _corners;  // of the polygon at hand
};

std::vector<int> MaterialIdsOf(const ModelPtr& model, const py::object& python, py::ssize_t count) {
  std::vector<int> ids;
  if (!py::isinstance<py::sequence>(python) && !py::isinstance<py::array>(python)) {
    ids.push_back(MaterialOf(model, python).id());
    return ids;
  }
  if (py::isinstance<py::str>(python)) return {MaterialOf(model, python).id()};
  for (const py::handle one : python) {
    const auto key = py::reinterpret_borrow<py::object>(one);
    if (PyIndex_Check(key.ptr()) != 0) {
      const auto id = py::reinterpret_steal<py::object>(PyNumber_Index(key.ptr()));
      if (!id) throw py::error_already_set();
      ids.push_back(MaterialOf(model, id).id());
    } else {
      ids.push_back(MaterialOf(model, key).id());
    }
  }
  if (static_cast<py::ssize_t>(ids.size()) != count) {
    throw py::value_error("there must be one material, or one for each polygon");
  }
  return ids;
}

void AddMesh(const ModelPtr& model, const py::object& body_key, const InputArray<float>& points,
             const InputArray<std::int32_t>& sizes, const InputArray<std::int32_t>& corners,
             const py::object& material, const std::optional<InputArray<float>>& uvs,
             const py::object& weights, const py::dict& shapes) {
  const Library library;
  const BaBody& body = BodyOf(model, body_key);
  const auto input = std::make_shared<MeshInput>(MeshInput{points, sizes, corners, uvs, {}});
  input->check();
  input->materials = MaterialIdsOf(model, material, sizes.size());
  const auto effects = std::make_shared<Effects>();
  AddWeightsTo(model, body, points.shape(0), weights, effects.get());
  AddShapesTo(*model->object, points.shape(0), shapes, effects.get());
  Call([=, &body] {
    const int left_out = PolygonAdder(model->object.get(), body, *input, *effects).addAll();
    if (left_out > 0) {
      BtWarn(BtCode("polygon-degenerate"),
             "%d polygons of body \"%s\" have fewer than three corners at different places.  They "
             "are left out.",
             left_out, static_cast<const char*>(body.name()));
    }
  });
}

// What the normals of a conversion are computed from.
Faces FacesOf(const InputArray<float>& points, const InputArray<std::int32_t>& sizes,
              const InputArray<std::int32_t>& corners) {
  MeshInput{points, sizes, corners, {}, {}}.check();
  Faces faces;
  faces.points.assign(points.data(), points.data() + points.size());
  faces.corners.assign(corners.data(), corners.data() + corners.size());
  std::size_t end = 0;
  for (py::ssize_t i = 0; i < sizes.size(); ++i) {
    end += static_cast<std::size_t>(sizes.at(i));
    faces.corners[end - 1] = -faces.corners[end - 1] - 1;
  }
  faces.face_materials.assign(static_cast<std::size_t>(sizes.size()), 0);
  return faces;
}

// Bodies that meet share the normals there.
std::vector<double> NormalsWithoutSeams(const Faces& faces) {
  return SmoothNormals(faces, FirstCoincident(faces.points));
}

template <std::vector<double> (*kCompute)(const Faces&)>
py::array_t<float> NormalsOf(const InputArray<float>& points, const InputArray<std::int32_t>& sizes,
                             const InputArray<std::int32_t>& corners) {
  const auto faces = std::make_shared<Faces>(FacesOf(points, sizes, corners));
  const auto normals = std::make_shared<std::vector<float>>();
  Call([=] {
    const std::vector<double> exact = kCompute(*faces);
    normals->assign(exact.begin(), exact.end());
  });
  const auto count = static_cast<py::ssize_t>(normals->size() / 3);
  return ToArray(std::move(*normals), {count, 3});
}

}  // namespace

void AddShape(const BaBody& body, const BaModel& model, const Bt4X4DoubleMat* to_world,
              MeshData* mesh) {
  ShapeGatherer(body, model, to_world, mesh).gather();
}

MeshData WholeMesh(const BaModel& model, const BaPoser& poser) {
  MeshData mesh;
  for (std::size_t i = 0; i < poser.bodies().size(); ++i) {
    if (theExceptObj.checkCancel()) break;
    if (poser.bodies()[i]->hasPolygons()) {
      AddShape(*poser.bodies()[i], model, &poser.rest()[i], &mesh);
    }
  }
  JoinShapes(&mesh);
  return mesh;
}

void BindMesh(py::module_& module) {
  PYBIND11_NUMPY_DTYPE(VertexWeight, vertex, body, weight);
  module.attr("WEIGHT_DTYPE") = py::dtype::of<VertexWeight>();
  py::class_<Body>(module.attr("Body"))
      .def("mesh", MeshOf,
           "The shape of the body as a kestrix.Mesh, in the body's system. Strips are triangles "
           "there, and corners at one place are one vertex.");
  py::class_<Model, ModelPtr>(module.attr("Model"))
      .def("mesh", WholeMeshOf,
           "The shapes of all bodies as one kestrix.Mesh, in the world at rest.")
      .def(
          "add_mesh", AddMesh, py::arg("body"), py::arg("points"), py::arg("polygon_sizes"),
          py::arg("corners"), py::kw_only(), py::arg("material"), py::arg("uvs") = py::none(),
          py::arg("weights") = py::none(), py::arg("shapes") = py::dict(),
          "Adds polygons to a body. `points` are (n, 3) in the body's system, `corners` 0-based "
          "points polygon by polygon, `uvs` (len(corners), 2), `material` one for all or one for "
          "each polygon, `weights` of WEIGHT_DTYPE: what they leave of 1 follows the body itself, "
          "`shapes` {(group, slider): (vertices, offsets)}. Corners at the place of the one before "
          "are dropped, polygons without a face left out with a warning. Raises ValueError, "
          "IndexError and KeyError; the model is then as it was.");
  module.def("smooth_normals", NormalsOf<NormalsWithoutSeams>, py::arg("points"),
             py::arg("polygon_sizes"), py::arg("corners"),
             "One unit normal for each point, (n, 3) float32, weighted by the areas of the faces.");
  module.def("face_normals", NormalsOf<FlatNormals>, py::arg("points"), py::arg("polygon_sizes"),
             py::arg("corners"), "One unit normal for each polygon, (n, 3) float32.");
}
