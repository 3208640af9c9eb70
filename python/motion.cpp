// Motion: values of variables at a row of times.
#include <pybind11/stl.h>

#include <limits>
#include <optional>

#include "arrays.h"
#include "objects.h"

namespace {

constexpr double kMostValues = 1e9;

double CheckRate(std::optional<double> rate) {
  if (!rate) return 0;
  if (!std::isfinite(*rate) || *rate <= 0) throw py::value_error("the rate must be above 0");
  return BaExactFrameRate(*rate);
}

MotionPtr ReadMotion(const py::object& path, std::optional<double> rate) {
  const std::string file = FileName(path);
  const double exact = CheckRate(rate);
  const auto motion = std::make_shared<Motion>();
  Call([=] { motion->object->read(file.c_str(), {.rate = exact}); });
  return motion;
}

void SetValues(BaMotion* motion, long long variable, const InputArray<float>& values) {
  if (variable < 1 || !std::in_range<int>(variable)) {
    throw py::value_error("a variable must be 1 or above");
  }
  CheckShape(values, {motion->numFrames()}, "values");
  CheckFinite(values, "values");
  motion->setValues(static_cast<int>(variable),
                    std::vector<float>(values.data(), values.data() + values.size()));
}

MotionPtr MakeMotion(const InputArray<double>& times, const py::dict& values,
                     std::optional<double> rate) {
  const Library library;
  CheckShape(times, {-1}, "times");
  CheckFinite(times, "times");
  for (py::ssize_t i = 1; i < times.size(); ++i) {
    if (!(times.at(i - 1) < times.at(i))) throw py::value_error("times must ascend");
  }
  const double exact = CheckRate(rate);
  const auto motion = std::make_shared<Motion>();
  motion->object->setTimes(std::vector<double>(times.data(), times.data() + times.size()), exact);
  for (const auto& [variable, column] : values) {
    SetValues(motion->object.get(), variable.cast<long long>(), column.cast<InputArray<float>>());
  }
  return motion;
}

py::array_t<float> ValuesOf(const Motion& motion, long long variable) {
  const Library library;
  if (!std::in_range<int>(variable) || !motion.object->holds(static_cast<int>(variable))) {
    throw py::key_error(std::to_string(variable));
  }
  const std::span<const float> values = motion.object->values(static_cast<int>(variable));
  return ToArray(std::vector<float>(values.begin(), values.end()));
}

py::array_t<float> AllValuesOf(const Motion& motion) {
  const Library library;
  const std::vector<int>& ids = motion.object->sysVarIds();
  const auto frames = static_cast<std::size_t>(motion.object->numFrames());
  std::vector<float> all(frames * ids.size());
  for (std::size_t c = 0; c < ids.size(); ++c) {
    const std::span<const float> column = motion.object->values(ids[c]);
    for (std::size_t i = 0; i < frames; ++i) all[i * ids.size() + c] = column[i];
  }
  return ToArray(std::move(all),
                 {static_cast<py::ssize_t>(frames), static_cast<py::ssize_t>(ids.size())});
}

py::dict FrameOf(const Motion& motion, long long frame) {
  const Library library;
  const int count = motion.object->numFrames();
  const long long at = frame < 0 ? frame + count : frame;
  if (at < 0 || at >= count) throw py::index_error("there is no such frame");
  py::dict values;
  for (const int id : motion.object->sysVarIds()) {
    values[py::int_(id)] = motion.object->values(id)[static_cast<std::size_t>(at)];
  }
  return values;
}

MotionPtr Resampled(const MotionPtr& motion, double rate) {
  const Library library;
  const double exact = CheckRate(rate);
  const double count = motion->object->numFramesAt(exact);
  const auto columns = static_cast<double>(motion->object->sysVarIds().size() + 1);
  if (!(count * columns <= kMostValues)) throw py::value_error("the frames are too many");
  const auto resampled = std::make_shared<Motion>();
  Call([=] { *resampled->object = motion->object->resampled(exact); });
  return resampled;
}

MotionPtr Cut(const MotionPtr& motion, std::optional<double> from, std::optional<double> to) {
  constexpr double kEver = std::numeric_limits<double>::max();
  const Library library;
  if ((from && std::isnan(*from)) || (to && std::isnan(*to))) {
    throw py::value_error("times must be numbers");
  }
  const auto cut = std::make_shared<Motion>();
  Call([=] { *cut->object = motion->object->cut(from.value_or(-kEver), to.value_or(kEver)); });
  return cut;
}

void AddComment(const Motion& motion, const std::string& comment) {
  const Library library;
  if (comment.find_first_of(std::string("\r\n\0", 3)) != std::string::npos) {
    throw py::value_error("a comment is one line");
  }
  motion.object->addComment(comment.c_str());
}

}  // namespace

void BindMotion(py::module_& module) {
  py::class_<Motion, MotionPtr>(module, "Motion",
                                "Captured values of numbered variables at a row of times. "
                                "motion[variable] is a float32 array with a value for each frame.")
      .def(py::init(&MakeMotion), py::arg("times") = py::array_t<double>(0),
           py::arg("values") = py::dict(), py::kw_only(), py::arg("rate") = py::none(),
           "Times are seconds that ascend; values are arrays by variable. The rate, frames per "
           "second, is what the times tell unless it is given. Raises ValueError.")
      .def_static("read", ReadMotion, py::arg("path"), py::kw_only(), py::arg("rate") = py::none(),
                  "Reads a CSV motion file, compressed (.gz, .Z) or not. Raises kestrix.Error.")
      .def(
          "save",
          [](const MotionPtr& m, const py::object& path) {
            const std::string file = FileName(path);
            Call([=] { m->object->save(file.c_str()); });
          },
          py::arg("path"), "Writes a CSV file, whole or not at all. Raises kestrix.Error.")
      .def_property_readonly(
          "times",
          [](const Motion& m) {
            const Library library;
            return ToArray(std::vector<double>(m.object->times()));
          },
          "The seconds of the frames, float64, a copy.")
      .def_property_readonly(
          "rate",
          [](const Motion& m) {
            const Library l;
            return m.object->rate();
          },
          "Frames per second.")
      .def_property_readonly(
          "is_even",
          [](const Motion& m) {
            const Library l;
            return m.object->isEven();
          },
          "True when the frames are one rate's step apart.")
      .def_property_readonly(
          "variables",
          [](const Motion& m) {
            const Library library;
            return m.object->sysVarIds();
          },
          "The variables that are held, in the order of their columns.")
      .def_property_readonly(
          "comments",
          [](const Motion& m) {
            const Library library;
            py::list comments;
            for (const BtStr& comment : m.object->comments())
              comments.append(TextOf(comment.view()));
            return comments;
          },
          "Lines that stand before the header of the file.")
      .def("add_comment", AddComment, py::arg("comment"), "Adds a line of comment.")
      .def("__len__",
           [](const Motion& m) {
             const Library l;
             return m.object->numFrames();
           })
      .def("__getitem__", ValuesOf, py::arg("variable"))
      .def(
          "__setitem__",
          [](const Motion& m, long long variable, const InputArray<float>& values) {
            const Library library;
            SetValues(m.object.get(), variable, values);
          },
          py::arg("variable"), py::arg("values"))
      .def(
          "__contains__",
          [](const Motion& m, long long variable) {
            const Library library;
            return std::in_range<int>(variable) && m.object->holds(static_cast<int>(variable));
          },
          py::arg("variable"))
      .def("__eq__",
           [](const Motion& a, const py::object& b) {
             const Library library;
             return py::isinstance<Motion>(b) && *a.object == *b.cast<const Motion&>().object;
           })
      .def("frame", FrameOf, py::arg("index"),
           "The values of one frame by variable; IndexError where there is none.")
      .def("to_array", AllValuesOf, "All values, (frames, variables) float32, by `variables`.")
      .def("resampled", Resampled, py::arg("rate"),
           "The motion at even times of another rate; values between frames are interpolated.")
      .def("cut", Cut, py::arg("start") = py::none(), py::arg("end") = py::none(),
           "The frames from one second to another, both included.")
      .def("__repr__", [](const Motion& m) {
        const Library library;
        return "<kestrix.Motion of " + std::to_string(m.object->numFrames()) + " frames, " +
               std::to_string(m.object->sysVarIds().size()) + " variables>";
      });
}
