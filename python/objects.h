// What Python holds of models, mappings and motion. Objects that are a part of one, such as a body,
// keep the whole alive and find their part anew each time, so that one that was removed is an
// exception and not a crash.
#pragma once

#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <unordered_map>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamotion.h"
#include "library.h"

// Where the handles of one part find it: null once it is gone.
template <class Part>
struct Slot {
  Part* part = nullptr;
};

// The slots of the parts that have handles.
template <class Part>
class Slots {
 public:
  std::shared_ptr<Slot<Part>> of(Part* part) {
    std::shared_ptr<Slot<Part>>& slot = _slots[part];
    if (slot == nullptr) {
      slot = std::make_shared<Slot<Part>>();
      slot->part = part;
    }
    return slot;
  }
  void forget(Part* part) {
    const auto found = _slots.find(part);
    if (found == _slots.end()) return;
    found->second->part = nullptr;
    _slots.erase(found);
  }
  // Forgets the parts for which is_there(part) does not hold.
  template <class IsThere>
  void forgetUnless(IsThere is_there) {
    std::erase_if(_slots, [&](auto& entry) {
      if (is_there(entry.first)) return false;
      entry.second->part = nullptr;
      return true;
    });
  }

 private:
  std::unordered_map<Part*, std::shared_ptr<Slot<Part>>> _slots;
};

// An object of a library and the slots of its parts; it is let go as the libraries need it.
template <class Object>
class Held {
 public:
  Held() : object(std::make_unique<Object>()) {}
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() {
    Discard([object = object.release()] { delete object; });
  }
  std::unique_ptr<Object> object;
};

class Model : public Held<BaModel> {
 public:
  Slots<BaBody> bodies;
  Slots<BaMaterial> materials;
  int next_body_id = 0;  // where to look for a free one; 0 for above all others
};
class Mapping : public Held<BaUnlockedMapping> {
 public:
  Slots<BaUnlockedBodyMap> body_maps;
};
class Motion : public Held<BaMotion> {};

using ModelPtr = std::shared_ptr<Model>;
using MappingPtr = std::shared_ptr<Mapping>;
using MotionPtr = std::shared_ptr<Motion>;

// A handle: the whole and the slot of a part.
template <class Owner, class Part>
class Handle {
 public:
  Handle(std::shared_ptr<Owner> owner, std::shared_ptr<Slot<Part>> slot)
      : _owner(std::move(owner)), _slot(std::move(slot)) {}

  [[nodiscard]] const std::shared_ptr<Owner>& owner() const { return _owner; }
  [[nodiscard]] bool isThere() const { return _slot->part != nullptr; }
  // The part; raises ReferenceError where it was removed.
  [[nodiscard]] Part& part() const {
    if (_slot->part == nullptr) {
      PyErr_SetString(PyExc_ReferenceError, "it was removed");
      throw py::error_already_set();
    }
    return *_slot->part;
  }
  [[nodiscard]] Part* operator->() const { return &part(); }
  [[nodiscard]] const void* identity() const { return _slot.get(); }

 private:
  std::shared_ptr<Owner> _owner;
  std::shared_ptr<Slot<Part>> _slot;
};

using Body = Handle<Model, BaBody>;
using Material = Handle<Model, BaMaterial>;
using BodyMap = Handle<Mapping, BaUnlockedBodyMap>;

// Handles of one part are equal. `text` tells of a part what stands behind the name of its class.
template <class Handle>
void BindIdentity(py::class_<Handle>* binding, std::string (*text)(const Handle& handle)) {
  const auto name = "<kestrix." + binding->attr("__name__").template cast<std::string>();
  binding
      ->def("__eq__",
            [](const Handle& a, const py::object& b) {
              return py::isinstance<Handle>(b) &&
                     b.cast<const Handle&>().identity() == a.identity();
            })
      .def("__hash__", [](const Handle& a) { return std::hash<const void*>()(a.identity()); })
      .def("__repr__", [name, text](const Handle& a) {
        const Library library;
        return name + (a.isThere() ? text(a) : ", removed") + ">";
      });
}
// Such a text: the id and the name of a part.
template <class Handle>
std::string IdAndName(const Handle& handle) {
  return py::str(" {} {!r}")
      .format(handle->id(), TextOf(handle->name().view()))
      .template cast<std::string>();
}

inline Body HandleOf(const ModelPtr& model, BaBody* body) {
  return {model, model->bodies.of(body)};
}
inline Material HandleOf(const ModelPtr& model, BaMaterial* material) {
  return {model, model->materials.of(material)};
}
inline BodyMap HandleOf(const MappingPtr& mapping, BaUnlockedBodyMap* map) {
  return {mapping, mapping->body_maps.of(map)};
}

// What a function takes for a body or a material of this model: a handle, a name or an id. Raises
// KeyError where there is none, ValueError for one of another model.
BaBody& BodyOf(const ModelPtr& model, const py::object& key);
BaMaterial& MaterialOf(const ModelPtr& model, const py::object& key);
// The id of a body, a free or a used one; raises ValueError where it is out of range.
int CheckBodyId(long long id);
// An id that no body has, above all others while there is room; the least one that no material has.
int FreeBodyId(Model* model);
int FreeMaterialId(const BaModel& model);

// The subjects, each in its own file.
void BindModel(py::module_& module);
void BindMaterial(py::module_& module);
void BindMesh(py::module_& module);
void BindMapping(py::module_& module);
void BindMotion(py::module_& module);
void BindPose(py::module_& module);
void BindPrograms(py::module_& module);
