// Models and their bodies: reading, saving, looking things up, edits.
#include <pybind11/stl.h>

#include <cmath>
#include <limits>

#include "Ba/bamodelcombine.h"
#include "Ba/bamodeldata.h"
#include "Ba/baposer.h"
#include "Bt/btexcept.h"
#include "arrays.h"
#include "modeledits.h"
#include "objects.h"
#include "outputfile.h"
#include "sourcefiles.h"

namespace {

[[noreturn]] void RaiseKeyError(const py::object& key) {
  PyErr_SetObject(PyExc_KeyError, key.ptr());
  throw py::error_already_set();
}

// The part of a model that is meant by a handle, a name or an id; null where there is none.
template <class Part, class ById, class ByName>
Part* Find(const ModelPtr& model, const py::object& key, ById by_id, ByName by_name) {
  using PartHandle = Handle<Model, Part>;
  if (py::isinstance<PartHandle>(key)) {
    const auto& handle = key.cast<const PartHandle&>();
    if (handle.owner() != model) throw py::value_error("it belongs to another model");
    return &handle.part();
  }
  if (py::isinstance<py::str>(key)) {
    const auto bytes = py::reinterpret_steal<py::bytes>(
        PyUnicode_AsEncodedString(key.ptr(), "utf-8", "surrogateescape"));
    if (!bytes) throw py::error_already_set();
    const std::string name = bytes;
    return name.find('\0') == std::string::npos ? by_name(name.c_str()) : nullptr;
  }
  if (!py::isinstance<py::int_>(key)) throw py::type_error("expected a name, an id or a handle");
  int overflow = 0;
  const long long id = PyLong_AsLongLongAndOverflow(key.ptr(), &overflow);
  return overflow == 0 && std::in_range<int>(id) ? by_id(static_cast<int>(id)) : nullptr;
}

BaBody* FindBody(const ModelPtr& model, const py::object& key) {
  BaModel& own = *model->object;
  BaBody* const body = Find<BaBody>(
      model, key, [&](int id) { return own.findBody(id); },
      [&](const char* name) { return own.findBody(BtStr(name)); });
  return body == nullptr || body->id() == 0 ? nullptr : body;
}

BaMaterial* FindMaterial(const ModelPtr& model, const py::object& key) {
  BaModel& own = *model->object;
  return Find<BaMaterial>(
      model, key, [&](int id) { return own.materialById(id); },
      [&](const char* name) { return own.materialByName(name); });
}

ModelPtr ReadModel(const py::object& path) {
  const std::string file = FileName(path);
  const auto model = std::make_shared<Model>();
  Call([=] { model->object->read(file.c_str()); });
  return model;
}

bool WriteDocument(const BaModel& model, const std::string& file) {
  BaModelData data;
  if (!data.fillFrom(model, true)) return false;
  return WriteWholeFile(file, SourceFiles(), [&data](std::ostream& os) {
    os.precision(std::numeric_limits<float>::max_digits10);
    data.printOn(os);
  });
}

void SaveModel(const ModelPtr& model, const py::object& path, const std::string& dialect) {
  const bool legacy = dialect == "legacy";
  if (!legacy && dialect != "document") {
    throw py::value_error("the dialect must be 'document' or 'legacy'");
  }
  const std::string file = FileName(path);
  const std::vector<Told> losses = Run([=] { WarnOfLosses(*model->object, legacy); });
  Call([=] {
    if (!legacy) {
      WriteDocument(*model->object, file);
      return;
    }
    WriteWholeFile(file, SourceFiles(), [&](std::ostream& os) { model->object->printOn(os); });
  });
  Warn(losses);
}

py::list BodiesOf(const ModelPtr& model) {
  const Library library;
  py::list bodies;
  const BaPoser poser(*model->object, nullptr);
  for (const BaBody* body : poser.bodies()) {
    bodies.append(HandleOf(model, model->object->findBody(body->id())));
  }
  return bodies;
}

py::tuple UnitsOf(const BaUnits& units) {
  return py::make_tuple(TextOf(units.name.view()), units.factor);
}

BaUnits ToUnits(const py::tuple& units, const std::vector<std::string>& names) {
  if (units.size() != 2) throw py::value_error("units are a name and a factor");
  const std::string name = NameText(units[0], "the name of the unit");
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    throw py::value_error("the unit must be " + names[0] + " or " + names[1]);
  }
  const float factor = ToFloat(units[1].cast<double>(), "the factor");
  if (factor <= 0) throw py::value_error("the factor must be above 0");
  return {name.c_str(), factor};
}

Body AddBody(const ModelPtr& model, const py::object& name, const py::object& parent,
             const std::optional<InputArray<float>>& transform, std::optional<long long> id) {
  const Library library;
  BaModel& own = *model->object;
  const std::string text = NameText(name, "the name of a body");
  if (own.findBody(BtStr(text.c_str())) != nullptr) {
    throw py::value_error("there is a body of this name");
  }
  const int new_id = id ? CheckBodyId(*id) : FreeBodyId(model.get());
  if (own.findBody(new_id) != nullptr) throw py::value_error("there is a body with this id");
  BaBody body;
  body.setName(text.c_str());
  body.setId(new_id);
  body.setParentId(parent.is_none() ? BaBody::kNoParent : BodyOf(model, parent).id());
  if (transform) body.setTransform(ToMatrix(*transform));
  return HandleOf(model, own.addBody(body));
}

void RemoveBody(const ModelPtr& model, const py::object& key) {
  const Library library;
  BaBody* const body = &BodyOf(model, key);
  // The handles go with the body, even where nobody waits for that any more.
  Call([=] {
    if (model->object->removeBody(body)) model->bodies.forget(body);
  });
}

void ChangeBodyIds(const ModelPtr& model, const std::map<long long, long long>& new_ids) {
  const Library library;
  BtMap<int, int> ids;
  std::set<int> left;
  for (const auto& body : model->object->bodies()) {
    if (body != nullptr && body->id() > 0) left.insert(body->id());
  }
  for (const auto& [old_id, new_id] : new_ids) {
    if (left.erase(static_cast<int>(CheckBodyId(old_id))) == 0) {
      throw py::value_error("there is no body " + std::to_string(old_id));
    }
    ids.insert(static_cast<int>(old_id), CheckBodyId(new_id));
  }
  for (const auto& [old_id, new_id] : new_ids) {
    if (!left.insert(static_cast<int>(new_id)).second) {
      throw py::value_error("two bodies would have the id " + std::to_string(new_id));
    }
  }
  model->object->changeBodyIds(ids);
}

void SetBodyId(const Body& body, long long id) {
  const Library library;
  const int new_id = CheckBodyId(id);
  BaModel& model = *body.owner()->object;
  if (new_id == body->id()) return;
  if (model.findBody(new_id) != nullptr) throw py::value_error("there is a body with this id");
  model.changeBodyId(&body.part(), new_id);
}

void SetBodyName(const Body& body, const py::object& name) {
  const Library library;
  const std::string text = NameText(name, "the name of a body");
  if (body->name() == text.c_str()) return;
  BaModel& model = *body.owner()->object;
  if (model.findBody(BtStr(text.c_str())) != nullptr) {
    throw py::value_error("there is a body of this name");
  }
  model.renameBody(&body.part(), text.c_str());
}

void SetTransform(const Body& body, const InputArray<float>& transform) {
  const Library library;
  body->setTransform(ToMatrix(transform));
}

void SetPostScaleFactor(const Body& body, double value) {
  const Library library;
  const float factor = ToFloat(value, "the factor");
  if (factor <= 0) throw py::value_error("the factor must be above 0");
  body->setPostScaleFactor(factor);
}

py::object ParentOf(const Body& body) {
  const Library library;
  BaBody* const parent = body->parent();
  if (parent == nullptr || parent->id() == 0) return py::none();
  return py::cast(HandleOf(body.owner(), parent));
}

py::list ChildrenOf(const Body& body) {
  const Library library;
  py::list children;
  for (int i = 0; i < body->numChildren(); ++i) {
    children.append(HandleOf(body.owner(), body->child(i)));
  }
  return children;
}

py::array_t<double> WorldTransformOf(const Body& body) {
  const Library library;
  Bt4X4DoubleMat matrix(body->transform());
  for (const BaBody* up = body->parent(); up != nullptr && up->id() != 0; up = up->parent()) {
    matrix = matrix * Bt4X4DoubleMat(up->transform());
  }
  return ToArray(matrix);
}

void TriangulateBodies(const ModelPtr& model, const py::object& key) {
  const Library library;
  if (key.is_none()) return Call([=] { Triangulate(model->object.get()); });
  BaBody* const body = &BodyOf(model, key);
  const auto has_face = [](const auto* polygon) { return polygon->numVertices() >= 3; };
  if (!std::all_of(body->polygons().begin(), body->polygons().end(), has_face) ||
      !std::all_of(body->texturedPolygons().begin(), body->texturedPolygons().end(), has_face)) {
    throw py::value_error("the body has polygons of fewer than three corners");
  }
  Call([=] { model->object->triangulateBody(body); });
}

void RemoveUnusedMaterials(const ModelPtr& model, bool renumber) {
  const Library library;
  if (renumber && !model->object->flexiblePolygons().empty()) {
    throw py::value_error("materials cannot be renumbered: there are flexible polygons");
  }
  model->object->removeUnusedMaterials(renumber);
  std::set<const BaMaterial*> left;
  for (const auto& material : model->object->materials()) left.insert(material.get());
  model->materials.forgetUnless([&](const BaMaterial* m) { return left.contains(m); });
}

py::dict SliderGroupsOf(const ModelPtr& model) {
  const Library library;
  py::dict groups;
  for (const auto& group : model->object->sliderGroups()) {
    py::list sliders;
    for (const BtStr& slider : group->sliders()) sliders.append(TextOf(slider.view()));
    groups[TextOf(group->name().view())] = sliders;
  }
  return groups;
}

void AddSliderGroup(const ModelPtr& model, const py::object& name, const py::list& sliders) {
  const Library library;
  BaMDSliderGroup group;
  group.setName(NameText(name, "the name of a slider group").c_str());
  for (const py::handle slider : sliders) {
    group.addSlider(
        NameText(py::reinterpret_borrow<py::object>(slider), "the name of a slider").c_str());
  }
  model->object->addSliderGroups({&group});
}

void RenameSliderGroup(const ModelPtr& model, const std::string& name, const py::object& new_name) {
  const Library library;
  BaModel& own = *model->object;
  BaMDSliderGroup* const group =
      name.find('\0') == std::string::npos ? own.findSliderGroup(name.c_str()) : nullptr;
  if (group == nullptr) RaiseKeyError(py::str(name));
  const std::string text = NameText(new_name, "the name of a slider group");
  if (group->name() == text.c_str()) return;
  if (own.findSliderGroup(text.c_str()) != nullptr) {
    throw py::value_error("there is a slider group of this name");
  }
  own.renameSliderGroup(group, text.c_str());
}

// A model with an offset and a suffix, of those to combine.
struct Part {
  ModelPtr model;
  int offset = 0;
  std::string suffix;
};

Part ToPart(const py::handle& item) {
  if (py::isinstance<Model>(item)) return {item.cast<ModelPtr>(), 0, {}};
  const auto tuple = item.cast<py::tuple>();
  if (tuple.empty() || tuple.size() > 3) {
    throw py::value_error("a part is a model, or (model, offset of its body ids, suffix)");
  }
  Part part = {tuple[0].cast<ModelPtr>(), 0, {}};
  if (tuple.size() > 1) part.offset = tuple[1].cast<int>();
  if (tuple.size() > 2 && py::len(tuple[2]) > 0) {
    part.suffix = NameText(tuple[2], "the suffix of names");
  }
  return part;
}

ModelPtr Combine(const py::iterable& items) {
  std::vector<Part> parts;
  for (const py::handle item : items) parts.push_back(ToPart(item));
  const auto combined = std::make_shared<Model>();
  if (parts.empty()) return combined;
  Call([=] {
    BaModel& model = *combined->object;
    const BaModel& first = *parts.front().model->object;
    model.beginLoad();
    model.setLengthUnits(first.lengthUnits());
    model.setAngleUnits(first.angleUnits());
    model.setCombineVertexNormals(first.combineVertexNormals());
    BaModelCombine combine(&model);
    for (const Part& part : parts) {
      if (!combine.add(*part.model->object, part.offset, part.suffix.c_str())) return;
    }
    model.endLoad();
  });
  return combined;
}

py::array_t<float> BonesOf(const Body& body) {
  const Library library;
  std::vector<float> ends;
  for (const BaBone* bone : body->bones()) {
    ends.insert(ends.end(), bone->from().begin(), bone->from().end());
    ends.insert(ends.end(), bone->to().begin(), bone->to().end());
  }
  const auto count = static_cast<py::ssize_t>(body->bones().size());
  return ToArray(std::move(ends), {count, 2, 3});
}

void AddBone(const ModelPtr& model, const py::object& body, const py::object& material,
             const InputArray<float>& ends) {
  const Library library;
  CheckShape(ends, {2, 3}, "the ends of a bone");
  CheckFinite(ends, "the ends of a bone");
  BaBone bone(BodyOf(model, body).id(), MaterialOf(model, material).id());
  const float* const at = ends.data();
  bone.setPoints({at[0], at[1], at[2]}, {at[3], at[4], at[5]});
  model->object->addBone(bone);
}

void AddMuscle(const ModelPtr& model, const py::object& name, const py::iterable& bodies,
               const py::object& material) {
  const Library library;
  BaMuscle muscle;
  muscle.setName(NameText(name, "the name of a muscle").c_str());
  muscle.setMaterialId(MaterialOf(model, material).id());
  for (const py::handle body : bodies) {
    muscle.bodyIds().append(BodyOf(model, py::reinterpret_borrow<py::object>(body)).id());
  }
  model->object->addMuscle(muscle);
}

py::list MusclesOf(const ModelPtr& model) {
  const Library library;
  py::list muscles;
  for (const auto& muscle : model->object->muscles()) {
    py::list ids;
    for (const int id : muscle->bodyIds()) ids.append(id);
    muscles.append(py::make_tuple(TextOf(muscle->name().view()), ids, muscle->materialId()));
  }
  return muscles;
}

// What is wrong with a model, None for one that holds together; for tests.
py::object FaultOf(const ModelPtr& model) {
  const Library library;
  BtStr fault;
  if (model->object->checkInvariants(&fault)) return py::none();
  return TextOf(fault.view());
}

void BindBody(py::module_& module) {
  py::class_<Body> handle(
      module, "Body",
      "A body of a model: a rigid segment in the tree.\n\n"
      "It stays itself when its name or id changes. After it was removed from its "
      "model every use raises ReferenceError.");
  handle
      .def_property_readonly(
          "model", [](const Body& body) { return body.owner(); }, "The model that it belongs to.")
      .def_property(
          "id",
          [](const Body& body) {
            const Library l;
            return body->id();
          },
          SetBodyId,
          "The id, 1 to 4194303. Setting it lets everything that refers to the body "
          "follow; ValueError for one that is taken.")
      .def_property(
          "name",
          [](const Body& body) {
            const Library l;
            return TextOf(body->name().view());
          },
          SetBodyName, "The name; ValueError for one that is taken.")
      .def_property_readonly("parent", ParentOf, "The parent, None for a body at the top.")
      .def_property_readonly("children", ChildrenOf, "The bodies that hang under it.")
      .def_property(
          "transform",
          [](const Body& body) {
            const Library l;
            return ToArray(body->transform());
          },
          SetTransform,
          "The transform at rest as the parent sees it: a (4, 4) float32 array, a copy, "
          "for points as row vectors. Rows 0 to 2 are the axes, row 3 is the origin, in "
          "the model's unit of lengths.")
      .def_property_readonly("world_transform", WorldTransformOf,
                             "The same as the world sees it, (4, 4) float64.")
      .def_property(
          "post_scale_factor",
          [](const Body& body) {
            const Library l;
            return body->postScaleFactor();
          },
          SetPostScaleFactor, "A factor above 0 that is kept, but has no form in files.")
      .def_property_readonly(
          "has_polygons",
          [](const Body& body) {
            const Library l;
            return body->hasPolygons();
          },
          "True when it has polygons or strips of triangles.")
      .def_property_readonly("bones", BonesOf,
                             "The lines that stand for the body where its shape is not drawn: a "
                             "(n, 2, 3) float32 array of their ends in the body's system.");
  BindIdentity(&handle, IdAndName<Body>);
}

}  // namespace

int CheckBodyId(long long id) {
  if (id < 1 || id > BaModel::kMaxBodyId) {
    throw py::value_error("a body id must be 1 to " + std::to_string(BaModel::kMaxBodyId));
  }
  return static_cast<int>(id);
}

int FreeBodyId(Model* model) {
  const BaModel& own = *model->object;
  int& id = model->next_body_id;
  if (id == 0) {
    id = own.bodies().size();
    while (id > 1 && own.findBody(id - 1) == nullptr) --id;
  }
  while (id == 0 || own.findBody(id) != nullptr) ++id;
  if (id <= BaModel::kMaxBodyId) return id;
  for (id = 1; own.findBody(id) != nullptr;) ++id;
  return CheckBodyId(id);
}

int FreeMaterialId(const BaModel& model) {
  int id = 1;
  while (model.materialById(id) != nullptr) ++id;
  return id;
}

BaBody& BodyOf(const ModelPtr& model, const py::object& key) {
  BaBody* const body = FindBody(model, key);
  if (body == nullptr) RaiseKeyError(key);
  return *body;
}

BaMaterial& MaterialOf(const ModelPtr& model, const py::object& key) {
  BaMaterial* const material = FindMaterial(model, key);
  if (material == nullptr) RaiseKeyError(key);
  return *material;
}

void BindModel(py::module_& module) {
  BindBody(module);
  py::class_<Model, ModelPtr>(
      module, "Model",
      "A character: a tree of bodies, materials, and the shapes on the "
      "bodies. A new one is empty.\n\n"
      "Where a function takes a body or a material, that may be the object, "
      "its name or its id; KeyError where there is none.")
      .def(py::init([] {
        const Library l;
        return std::make_shared<Model>();
      }))
      .def_static("read", ReadModel, py::arg("path"),
                  "Reads a model file of either dialect, compressed (.gz, .Z) or not, with what it "
                  "includes. Raises kestrix.Error.")
      .def("save", SaveModel, py::arg("path"), py::kw_only(), py::arg("dialect") = "document",
           "Writes the model as a 'document' or as 'legacy' text, whole or not at all. What has no "
           "form in that dialect is left out with a warning. Raises kestrix.Error.")
      .def_property_readonly(
          "version",
          [](const Model& m) {
            const Library l;
            return m.object->version();
          },
          "The version of the file that was read; 0 for a new model.")
      .def_property_readonly("bodies", BodiesOf,
                             "All bodies, depth first, parents before their children. Arrays with "
                             "a place for each body have this order.")
      .def(
          "body",
          [](const ModelPtr& m, const py::object& key) {
            const Library library;
            return HandleOf(m, &BodyOf(m, key));
          },
          py::arg("key"), "The body of a name or an id; KeyError where there is none.")
      .def(
          "__getitem__",
          [](const ModelPtr& m, const py::object& key) {
            const Library library;
            return HandleOf(m, &BodyOf(m, key));
          },
          py::arg("key"))
      .def(
          "__contains__",
          [](const ModelPtr& m, const py::object& key) {
            const Library library;
            return FindBody(m, key) != nullptr;
          },
          py::arg("key"))
      .def("__iter__", [](const ModelPtr& m) { return py::iter(BodiesOf(m)); })
      .def("__len__", [](const ModelPtr& m) { return py::len(BodiesOf(m)); })
      .def_property(
          "length_unit",
          [](const Model& m) {
            const Library l;
            return UnitsOf(m.object->lengthUnits());
          },
          [](const Model& m, const py::tuple& units) {
            const Library library;
            m.object->setLengthUnits(ToUnits(units, {"INCHES", "METERS"}));
          },
          "Name and factor: lengths times the factor are in the named unit, 'INCHES' or "
          "'METERS'.")
      .def_property(
          "angle_unit",
          [](const Model& m) {
            const Library l;
            return UnitsOf(m.object->angleUnits());
          },
          [](const Model& m, const py::tuple& units) {
            const Library library;
            m.object->setAngleUnits(ToUnits(units, {"RADIANS", "DEGREES"}));
          },
          "Name and factor of the angles in a document, 'RADIANS' or 'DEGREES'.")
      .def_property(
          "combine_vertex_normals",
          [](const Model& m) {
            const Library library;
            return m.object->combineVertexNormals();
          },
          [](const Model& m, bool combine) {
            const Library library;
            m.object->setCombineVertexNormals(combine);
          },
          "True when the faces around a vertex share one normal.")
      .def_property_readonly("slider_groups", SliderGroupsOf,
                             "The names of the sliders by the names of their groups.")
      .def_property_readonly("muscles", MusclesOf, "Name, body ids and material id of each muscle.")
      .def("add_body", AddBody, py::arg("name"), py::arg("parent") = py::none(),
           py::arg("transform") = py::none(), py::kw_only(), py::arg("id") = py::none(),
           "Adds a body under a parent, at the top without one; see Body.transform. The id is a "
           "free one unless it is given. Raises ValueError.")
      .def("remove_body", RemoveBody, py::arg("body"),
           "Removes a body as one takes a joint out: its children and the weights toward it go to "
           "its parent, its shape goes.")
      .def("change_body_ids", ChangeBodyIds, py::arg("new_ids"),
           "Gives many bodies other ids at once, from old to new; bodies may trade theirs. A "
           "mapping is told with Mapping.change_body_ids().")
      .def("add_slider_group", AddSliderGroup, py::arg("name"), py::arg("sliders"),
           "Adds sliders to a group, which is made where it is not there yet.")
      .def("rename_slider_group", RenameSliderGroup, py::arg("name"), py::arg("new_name"),
           "Gives a group another name; blends follow.")
      .def("add_bone", AddBone, py::arg("body"), py::arg("material"), py::arg("ends"),
           "Adds a line from one end to the other, (2, 3) float32 in the body's system.")
      .def("add_muscle", AddMuscle, py::arg("name"), py::arg("bodies"), py::arg("material"),
           "Adds a named line over bodies.")
      .def("triangulate", TriangulateBodies, py::arg("body") = py::none(),
           "Cuts the polygons of a body, or of all bodies, into triangles.")
      .def(
          "remove_bones",
          [](const Model& m) {
            const Library l;
            m.object->removeBones();
          },
          "Removes all bones.")
      .def("remove_unused_materials", RemoveUnusedMaterials, py::arg("renumber") = false,
           "Removes the materials that nothing uses; `renumber` gives the others small ids.")
      .def("_fault", FaultOf)
      .def("__repr__", [](const ModelPtr& m) {
        return "<kestrix.Model of " + std::to_string(py::len(BodiesOf(m))) + " bodies>";
      });
  module.def("combine", Combine, py::arg("models"),
             "Puts copies of several models together into a new one. Each is a model, or (model, "
             "offset of its body ids, suffix of its body names). Equal materials and slider groups "
             "become one. Raises kestrix.Error where ids or names clash.");
}
