// The module kestrix._core; the package `kestrix` is what people import.
#include "objects.h"

PYBIND11_MODULE(_core, module) {
  module.doc() = "Models, mappings and motion of kestrix.";
  BindModel(module);
  BindMaterial(module);
  BindMesh(module);
  BindMapping(module);
  BindMotion(module);
  BindPose(module);
  BindPrograms(module);
  module.attr("__version__") = KESTRIX_VERSION;
  // A child must not find the lock taken by a thread that it has not got.
  py::module_::import("os").attr("register_at_fork")(
      py::arg("before") = py::cpp_function(LockForFork),
      py::arg("after_in_parent") = py::cpp_function(UnlockAfterFork),
      py::arg("after_in_child") = py::cpp_function(UnlockAfterFork));
}
