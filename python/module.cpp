// The module kestrix._core; the package `kestrix` is what people import.
#include "objects.h"

namespace {

// Arguments of another type than is wanted, found where the binding itself does not look.
void TranslateCastErrors(std::exception_ptr raised) {
  try {
    if (raised != nullptr) std::rethrow_exception(std::move(raised));
  } catch (const py::cast_error&) {
    PyErr_SetString(PyExc_TypeError, "an argument is of a wrong type or out of range");
  }
}

}  // namespace

PYBIND11_MODULE(_core, module) {
  py::register_local_exception_translator(TranslateCastErrors);
  module.doc() = "Models, mappings and motion of kestrix.";
  BindModel(module);
  BindMaterial(module);
  BindMesh(module);
  BindMapping(module);
  BindMotion(module);
  BindPose(module);
  BindPrograms(module);
  module.attr("__version__") = KESTRIX_VERSION;
  py::module_::import("atexit").attr("register")(py::cpp_function(EndWork));
  // A child must not find the lock taken by a thread that it has not got.
  py::module_::import("os").attr("register_at_fork")(
      py::arg("before") = py::cpp_function(LockForFork),
      py::arg("after_in_parent") = py::cpp_function(UnlockAfterFork),
      py::arg("after_in_child") = py::cpp_function(UnlockAfterFork));
}
