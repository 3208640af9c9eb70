// Where bodies and the vertices on them stand when motion moves them.
#include <pybind11/stl.h>

#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <unordered_map>

#include "Ba/baposer.h"
#include "Bt/btexcept.h"
#include "arguments.h"
#include "arrays.h"
#include "motionfiles.h"
#include "shapearrays.h"

namespace {

BaVariableUnits UnitsFor(const BaModel& model, const std::string& angles,
                         const std::optional<std::string>& lengths) {
  if (angles != "degrees" && angles != "radians") {
    throw py::value_error("angles must be 'degrees' or 'radians'");
  }
  Arguments arguments;
  arguments.angles = angles;
  arguments.lengths = lengths.value_or("");
  if (lengths && lengths->empty()) throw py::value_error("lengths must name a unit");
  const BaVariableUnits units = UnitsOfVariables(arguments, model.lengthUnits());
  if (!(units.length > 0) || !std::isfinite(units.length)) {
    throw py::value_error("lengths in this unit cannot be converted to the model's");
  }
  return units;
}

// The frames that are asked for: of a motion, or one that is given as values by variable.
class Frames {
 public:
  // `python` is a motion or a dictionary; `chosen` frames of a motion, None for all.
  Frames(const py::object& python, const py::object& chosen) {
    if (py::isinstance<Motion>(python)) {
      _motion = python.cast<MotionPtr>();
      _choose(chosen);
      return;
    }
    if (!chosen.is_none()) throw py::type_error("frames are chosen of a motion only");
    is_single = true;
    for (const auto& [variable, value] : python.cast<py::dict>()) {
      const auto id = variable.cast<long long>();
      if (id < 1 || !std::in_range<int>(id)) {
        throw py::value_error("a variable must be 1 or above");
      }
      const auto number = value.cast<double>();
      if (!std::isfinite(number)) throw py::value_error("values must be finite numbers");
      _frame.set(static_cast<int>(id), number);
    }
  }

  [[nodiscard]] std::size_t count() const { return is_single ? 1 : _chosen.size(); }
  void pose(const BaPoser& poser, std::size_t i, std::span<Bt4X4DoubleMat> places) const {
    if (is_single) return poser.pose(_frame, places);
    poser.pose(*_motion->object, _chosen[i], places);
  }
  // A new array with this shape for each frame; for one frame that is given, the shape alone.
  template <class T>
  [[nodiscard]] py::array_t<T> makeArray(std::vector<py::ssize_t> shape) const {
    if (!is_single) shape.insert(shape.begin(), static_cast<py::ssize_t>(_chosen.size()));
    return py::array_t<T>(shape);
  }
  [[nodiscard]] double valueOf(int variable, std::size_t i) const {
    if (is_single) return _frame(variable);
    const std::span<const float> values = _motion->object->values(variable);
    return values.empty() ? 0 : static_cast<double>(values[static_cast<std::size_t>(_chosen[i])]);
  }

  bool is_single = false;

 private:
  void _choose(const py::object& chosen) {
    const int count = _motion->object->numFrames();
    if (chosen.is_none()) {
      for (int i = 0; i < count; ++i) _chosen.push_back(i);
    } else if (py::isinstance<py::slice>(chosen)) {
      py::ssize_t start = 0;
      py::ssize_t stop = 0;
      py::ssize_t step = 0;
      if (PySlice_Unpack(chosen.ptr(), &start, &stop, &step) != 0) throw py::error_already_set();
      const py::ssize_t n = PySlice_AdjustIndices(count, &start, &stop, step);
      for (py::ssize_t i = 0; i < n; ++i) _chosen.push_back(static_cast<int>(start + i * step));
    } else {
      for (const py::handle one : chosen) {
        const auto frame = py::reinterpret_steal<py::object>(PyNumber_Index(one.ptr()));
        if (!frame) throw py::error_already_set();
        const auto at = frame.cast<long long>();
        if (at < -count || at >= count) throw py::index_error("there is no such frame");
        _chosen.push_back(static_cast<int>(at < 0 ? at + count : at));
      }
    }
  }

  MotionPtr _motion;
  std::vector<int> _chosen;
  BaFrame _frame;
};

const BaUnlockedMapping* ObjectOf(const MappingPtr& mapping) {
  return mapping == nullptr ? nullptr : mapping->object.get();
}

// What work has to keep alive.
std::pair<ModelPtr, MappingPtr> Holding(const ModelPtr& model, const MappingPtr& mapping) {
  return {model, mapping};
}

py::array_t<double> PosesOf(const ModelPtr& model, const MappingPtr& mapping,
                            const py::object& frame, const py::object& chosen,
                            const std::string& angles, const std::optional<std::string>& lengths) {
  const Library library;
  const BaVariableUnits units = UnitsFor(*model->object, angles, lengths);
  const auto frames = std::make_shared<const Frames>(frame, chosen);
  const auto poser = std::make_shared<const BaPoser>(*model->object, ObjectOf(mapping), units);
  const std::size_t n_bodies = poser->bodies().size();
  const auto poses = frames->makeArray<double>({static_cast<py::ssize_t>(n_bodies), 4, 4});
  double* const out = const_cast<double*>(poses.data());
  Call([=, held = Holding(model, mapping), array = py::object(poses)] {
    static_assert(sizeof(Bt4X4DoubleMat) == 16 * sizeof(double));
    std::vector<Bt4X4DoubleMat> places(n_bodies);
    for (std::size_t i = 0; i < frames->count(); ++i) {
      if (n_bodies == 0 || theExceptObj.cancelAsked()) break;
      frames->pose(*poser, i, places);
      std::memcpy(out + i * 16 * n_bodies, &places[0](0, 0), n_bodies * sizeof(Bt4X4DoubleMat));
    }
  });
  return poses;
}

// The vertices of a model's mesh and what moves them, made ready for many frames.
class Skin {
 public:
  Skin(const BaModel& model, const BaPoser& poser, const BaUnlockedMapping* mapping)
      : _mesh(WholeMesh(model, poser)) {
    std::unordered_map<int, std::size_t> places;
    for (std::size_t i = 0; i < poser.bodies().size(); ++i) places[poser.bodies()[i]->id()] = i;
    for (const Bt4X4DoubleMat& rest : poser.rest()) _to_body.push_back(InverseOf(rest));
    for (const VertexWeight& weight : _mesh.weights) {
      _influences.push_back({static_cast<std::size_t>(weight.vertex), places.at(weight.body),
                             static_cast<double>(weight.weight)});
    }
    if (mapping != nullptr) _findSliders(*mapping);
  }

  [[nodiscard]] std::size_t count() const { return _mesh.points.size() / 3; }

  // The points of a frame. Bodies have moved to these places.
  void pose(const Frames& frames, std::size_t i, std::span<const Bt4X4DoubleMat> places,
            float* out) {
    _points.assign(_mesh.points.begin(), _mesh.points.end());
    for (const Slider& slider : _sliders) _slide(*slider.shape, frames.valueOf(slider.variable, i));
    std::vector<Bt4X4DoubleMat> moves(places.size());
    for (std::size_t b = 0; b < places.size(); ++b) moves[b] = _to_body[b] * places[b];
    _sums.assign(_points.size(), 0);
    for (const Influence& influence : _influences) {
      const double* const from = &_points[3 * influence.vertex];
      double* const to = &_sums[3 * influence.vertex];
      const Bt4X4DoubleMat& move = moves[influence.body];
      for (int c = 0; c < 3; ++c) {
        to[c] += influence.weight *
                 (from[0] * move(0, c) + from[1] * move(1, c) + from[2] * move(2, c) + move(3, c));
      }
    }
    std::copy(_sums.begin(), _sums.end(), out);
  }

 private:
  struct Influence {
    std::size_t vertex;
    std::size_t body;  // its place
    double weight;
  };
  struct Slider {
    const Shape* shape;
    int variable;
  };

  static Bt4X4DoubleMat InverseOf(const Bt4X4DoubleMat& m) {
    Bt3X3DoubleMat axes;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) axes(r, c) = m(r, c);
    }
    const double scale = 1 / determinant(axes);
    Bt4X4DoubleMat inverse;
    for (int r = 0; r < 3; ++r) {
      for (int c = 0; c < 3; ++c) {
        const int a = (c + 1) % 3;
        const int b = (c + 2) % 3;
        const int d = (r + 1) % 3;
        const int e = (r + 2) % 3;
        inverse(r, c) = scale * (axes(a, d) * axes(b, e) - axes(a, e) * axes(b, d));
      }
    }
    for (int c = 0; c < 3; ++c) {
      inverse(3, c) =
          -(m(3, 0) * inverse(0, c) + m(3, 1) * inverse(1, c) + m(3, 2) * inverse(2, c));
    }
    return inverse;
  }

  void _findSliders(const BaUnlockedMapping& mapping) {
    std::map<std::pair<std::string, std::string>, const Shape*> shapes;
    for (const Shape& shape : _mesh.shapes) shapes[{shape.group, shape.slider}] = &shape;
    for (const auto& map : mapping.blendEffectMaps()) {
      for (const auto& slider : map.sliders) {
        const auto found =
            shapes.find({std::string(map.slider_group.view()), std::string(slider.name.view())});
        if (found != shapes.end() && slider.sysvar_id > 0) {
          _sliders.push_back({found->second, slider.sysvar_id});
        }
      }
    }
  }

  void _slide(const Shape& shape, double share) {
    for (std::size_t i = 0; i < shape.vertices.size(); ++i) {
      double* const point = &_points[3 * static_cast<std::size_t>(shape.vertices[i])];
      for (std::size_t c = 0; c < 3; ++c) {
        point[c] += share * static_cast<double>(shape.offsets[3 * i + c]);
      }
    }
  }

  MeshData _mesh;
  std::vector<Bt4X4DoubleMat> _to_body;  // from the world at rest
  std::vector<Influence> _influences;
  std::vector<Slider> _sliders;
  std::vector<double> _points;  // of the frame at hand
  std::vector<double> _sums;
};

py::array_t<float> PosedPointsOf(const ModelPtr& model, const MappingPtr& mapping,
                                 const py::object& frame, const py::object& chosen,
                                 const std::string& angles,
                                 const std::optional<std::string>& lengths) {
  const Library library;
  const BaVariableUnits units = UnitsFor(*model->object, angles, lengths);
  const auto frames = std::make_shared<const Frames>(frame, chosen);
  const BaUnlockedMapping* const own = ObjectOf(mapping);
  const auto poser = std::make_shared<const BaPoser>(*model->object, own, units);
  const auto skin = std::make_shared<std::optional<Skin>>();
  const auto held = Holding(model, mapping);
  Call([=] { skin->emplace(*held.first->object, *poser, own); });
  const auto points = frames->makeArray<float>({static_cast<py::ssize_t>((*skin)->count()), 3});
  float* const out = const_cast<float*>(points.data());
  Call([=, array = py::object(points)] {
    std::vector<Bt4X4DoubleMat> places(poser->bodies().size());
    for (std::size_t i = 0; i < frames->count(); ++i) {
      if (theExceptObj.cancelAsked()) break;
      frames->pose(*poser, i, places);
      (*skin)->pose(*frames, i, places, out + i * 3 * (*skin)->count());
    }
  });
  return points;
}

}  // namespace

void BindPose(py::module_& module) {
  const char* const about =
      " `frame` is a Motion, or the values of one frame by variable; `frames` chooses frames of a "
      "motion, a slice or indices. Variables are in degrees and in the model's unit of lengths "
      "unless `angles` ('radians') or `lengths` ('meters', 'centimeters', 'millimeters', 'inches', "
      "'feet') say otherwise. A mapping of None leaves all bodies at rest.";
  module.def("pose", PosesOf, py::arg("model"), py::arg("mapping"), py::arg("frame"), py::kw_only(),
             py::arg("frames") = py::none(), py::arg("angles") = "degrees",
             py::arg("lengths") = py::none(),
             (std::string("Where the bodies stand in the world: (frames, bodies, 4, 4) float64, "
                          "(bodies, 4, 4) for the values of one frame. Bodies are in the order of "
                          "model.bodies; matrices are for points as row vectors, row 3 is the "
                          "origin.") +
              about)
                 .c_str());
  module.def("posed_points", PosedPointsOf, py::arg("model"), py::arg("mapping"), py::arg("frame"),
             py::kw_only(), py::arg("frames") = py::none(), py::arg("angles") = "degrees",
             py::arg("lengths") = py::none(),
             (std::string("Where the vertices of model.mesh() stand when bodies and sliders move "
                          "them: (frames, n, 3) float32, (n, 3) for the values of one frame.") +
              about)
                 .c_str());
}
