// Mappings: which variables drive which transforms of which bodies.
#include <pybind11/stl.h>

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <set>

#include "arrays.h"
#include "objects.h"

namespace {

constexpr const char* kTransforms[] = {"x_translation", "y_translation", "z_translation",
                                       "x_rotation",    "y_rotation",    "z_rotation"};

int TransformId(const std::string& name) {
  const auto* const found = std::ranges::find(kTransforms, name);
  if (found == std::end(kTransforms)) {
    throw py::value_error("'" + name + "' is none of x_translation ... z_rotation");
  }
  return static_cast<int>(found - std::begin(kTransforms)) + 1;
}

int CheckVariable(long long id, int least) {
  if (id < least || id > std::numeric_limits<int>::max()) {
    throw py::value_error("a variable must be " + std::to_string(least) + " or above");
  }
  return static_cast<int>(id);
}

// As kestrix.Transform has it.
py::object ToPython(const BaUnlockedTransform& transform) {
  py::dict terms;
  if (transform.isCombination()) {
    for (const BaUnlockedTransform::Term& term : transform.terms()) {
      const py::int_ id(term.sysvar_id);
      const double before = terms.contains(id) ? terms[id].cast<double>() : 0;
      terms[id] = before + static_cast<double>(term.coefficient);
    }
  } else if (transform.exists() && transform.sysVarId() > 0) {
    terms[py::int_(transform.sysVarId())] = 1.0;
  }
  return py::module_::import("kestrix._types")
      .attr("Transform")(kTransforms[transform.id() - 1], terms, transform.constant(),
                         transform.isCombination());
}

BaUnlockedTransform ToTransform(const py::handle& python) {
  const int id = TransformId(python.attr("name").cast<std::string>());
  const auto terms = python.attr("terms").cast<py::dict>();
  const float constant = ToFloat(python.attr("constant").cast<double>(), "the constant");
  std::vector<BaUnlockedTransform::Term> list;
  for (const auto& [variable, factor] : terms) {
    list.push_back(
        {CheckVariable(variable.cast<long long>(), 1), ToFloat(factor.cast<double>(), "a factor")});
  }
  const bool single = constant == 0 && list.size() <= 1 &&
                      (list.empty() || list[0].coefficient == 1) &&
                      !python.attr("is_combination").cast<bool>();
  if (single) return {id, list.empty() ? 0 : list[0].sysvar_id};
  BtDArray<BaUnlockedTransform::Term> array(static_cast<int>(list.size()));
  std::copy(list.begin(), list.end(), array.begin());
  return {id, constant, std::move(array)};
}

// A body map of these transforms; those that are missing follow, driven by nothing.
BaUnlockedBodyMap ToBodyMap(int body_id, const py::iterable& transforms) {
  std::set<int> there;
  BaUnlockedBodyMap map(body_id, {}, {});
  for (const py::handle python : transforms) {
    const BaUnlockedTransform transform = ToTransform(python);
    if (!there.insert(transform.id()).second) {
      throw py::value_error("a transform is there twice");
    }
    map.setTransform(transform.id(), transform);
  }
  for (int id = 1; id <= kBaTransformCount; ++id) {
    if (!there.contains(id)) map.setTransform(id, BaUnlockedTransform(id, 0));
  }
  return map;
}

int CheckMappedId(long long id) { return CheckBodyId(id); }

MappingPtr ReadMapping(const py::object& path, bool load_includes) {
  const std::string file = FileName(path);
  const auto mapping = std::make_shared<Mapping>();
  Call([=] { mapping->object->read(file.c_str(), load_includes); });
  return mapping;
}

void SaveMapping(const MappingPtr& mapping, const py::object& path) {
  const Library library;
  const std::string file = FileName(path);
  for (const BaUnlockedBodyMap* map : mapping->object->bodyMaps()) {
    std::set<int> ids;
    for (const BaUnlockedTransform& transform : map->transforms()) ids.insert(transform.id());
    if (map->transforms().size() != kBaTransformCount || ids.size() != kBaTransformCount) {
      throw py::value_error("body " + std::to_string(map->bodyId()) +
                            " does not have each transform once");
    }
  }
  Call([=] { mapping->object->save(file.c_str()); });
}

BaUnlockedBodyMap& MapOf(const MappingPtr& mapping, long long body_id) {
  BaUnlockedBodyMap* const map =
      std::in_range<int>(body_id) ? mapping->object->bodyMap(static_cast<int>(body_id)) : nullptr;
  if (map == nullptr) throw py::key_error(std::to_string(body_id));
  return *map;
}

BodyMap MapAt(const MappingPtr& mapping, long long body_id) {
  const Library library;
  return HandleOf(mapping, &MapOf(mapping, body_id));
}

py::list MapsOf(const MappingPtr& mapping) {
  const Library library;
  py::list maps;
  for (BaUnlockedBodyMap* map : mapping->object->bodyMaps()) maps.append(HandleOf(mapping, map));
  return maps;
}

BodyMap AddMap(const MappingPtr& mapping, long long body_id, const py::iterable& transforms) {
  const Library library;
  const int id = CheckMappedId(body_id);
  BaUnlockedMapping& own = *mapping->object;
  if (own.bodyMap(id) != nullptr) throw py::value_error("the body has a map");
  own.addBodyMap(ToBodyMap(id, transforms));
  own.setHighestSysVar();
  return HandleOf(mapping, own.bodyMap(id));
}

void RemoveMap(const MappingPtr& mapping, long long body_id) {
  const Library library;
  BaUnlockedBodyMap* const map = &MapOf(mapping, body_id);
  mapping->body_maps.forget(map);
  mapping->object->removeBodyMap(static_cast<int>(body_id));
  mapping->object->setHighestSysVar();
}

void RemoveUnusedMaps(const MappingPtr& mapping) {
  const Library library;
  mapping->object->removeUnusedBodyMaps();
  std::set<const BaUnlockedBodyMap*> left;
  for (const BaUnlockedBodyMap* map : mapping->object->bodyMaps()) left.insert(map);
  mapping->body_maps.forgetUnless([&](const auto* map) { return left.contains(map); });
}

void ChangeMapIds(const MappingPtr& mapping, const std::map<long long, long long>& new_ids) {
  const Library library;
  BtMap<int, int> ids;
  for (const auto& [old_id, new_id] : new_ids) {
    ids.insert(CheckMappedId(old_id), CheckMappedId(new_id));
  }
  std::set<int> after;
  for (const BaUnlockedBodyMap* map : mapping->object->bodyMaps()) {
    const int* const new_id = ids.find(map->bodyId());
    if (!after.insert(new_id == nullptr ? map->bodyId() : *new_id).second) {
      throw py::value_error("two bodies would have one id");
    }
  }
  mapping->object->changeBodyIds(ids);
}

void SetTransforms(const BodyMap& map, const py::iterable& transforms) {
  const Library library;
  map.part() = ToBodyMap(map->bodyId(), transforms);
  map.owner()->object->setHighestSysVar();
}

void RenumberVariables(const MappingPtr& mapping, const std::map<long long, long long>& new_ids) {
  const Library library;
  std::map<int, int> ids;
  for (const auto& [old_id, new_id] : new_ids) {
    ids[CheckVariable(old_id, 1)] = CheckVariable(new_id, 1);
  }
  BtDArray<int> used;
  mapping->object->getUsedSysVarIds(&used);
  // The library takes a table of all ids up to the highest one.
  const int highest = used.empty() ? 0 : used.last();
  constexpr int kMostVariables = 1 << 24;
  if (highest > kMostVariables) throw py::value_error("the variables are too many");
  BtArray<int> table(highest + 1);
  for (int i = 0; i <= highest; ++i) {
    const auto found = ids.find(i);
    table[i] = found == ids.end() ? i : found->second;
  }
  for (BaUnlockedBodyMap* map : mapping->object->bodyMaps()) map->renumberSysVarIds(table);
  mapping->object->setHighestSysVar();
}

void Merge(const MappingPtr& mapping, const MappingPtr& other, int body_id_offset,
           std::optional<long long> variable_offset) {
  const Library library;
  if (!other->object->includes().empty()) {
    throw py::value_error("the other mapping has includes: read it with load_includes");
  }
  const int offset =
      variable_offset ? CheckVariable(*variable_offset, 0) : BaUnlockedMapping::kFollowOn;
  const auto copy = std::make_shared<const BaUnlockedMapping>(*other->object);
  Call([=] { mapping->object->merge(*copy, body_id_offset, offset); });
}

py::list ToPython(const std::vector<BaUnlockedMapping::Driven>& driven) {
  using Kind = BaUnlockedMapping::Driven::Kind;
  const py::object type = py::module_::import("kestrix._types").attr("Driven");
  py::list list;
  for (const BaUnlockedMapping::Driven& one : driven) {
    if (one.kind == Kind::Slider) {
      list.append(type("slider", py::none(), py::none(), TextOf(one.slider_group.view()),
                       TextOf(one.slider.view()), one.factor));
    } else if (one.kind == Kind::TextureIndex) {
      list.append(type("texture", one.id, py::none(), py::none(), py::none(), one.factor));
    } else {
      list.append(type("transform", one.id, kTransforms[one.transform_id - 1], py::none(),
                       py::none(), one.factor));
    }
  }
  return list;
}

py::dict SlidersOf(const Mapping& mapping) {
  const Library library;
  py::dict sliders;
  for (const auto& map : mapping.object->blendEffectMaps()) {
    for (const auto& slider : map.sliders) {
      sliders[py::make_tuple(TextOf(map.slider_group.view()), TextOf(slider.name.view()))] =
          slider.sysvar_id;
    }
  }
  return sliders;
}

bool CanLoad(const MappingPtr& mapping, const MappingPtr& source, const ModelPtr& model) {
  Call([=] {
    (void)BaMappingCheckLoadCompatibility(*mapping->object, *source->object,
                                          model == nullptr ? nullptr : model->object.get());
  });
  return true;
}

void BindBodyMap(py::module_& module) {
  py::class_<BodyMap> map(
      module, "BodyMap",
      "What moves one body. After it was removed from its mapping every use raises "
      "ReferenceError.");
  map.def_property_readonly(
         "mapping", [](const BodyMap& m) { return m.owner(); }, "The mapping that it belongs to.")
      .def_property(
          "body_id",
          [](const BodyMap& m) {
            const Library l;
            return m->bodyId();
          },
          [](const BodyMap& m, long long id) {
            const Library library;
            ChangeMapIds(m.owner(), {{m->bodyId(), id}});
          },
          "The id of the body; ValueError for one that has a map.")
      .def_property(
          "transforms",
          [](const BodyMap& m) {
            const Library library;
            py::list list;
            for (const auto& transform : m->transforms()) {
              list.append(ToPython(transform));
            }
            return list;
          },
          SetTransforms,
          "Its six kestrix.Transform objects in the order in which they are applied, "
          "about and along axes that move with the body; a new list. Those that are left "
          "out when it is set stand at the end, driven by nothing.")
      .def(
          "__getitem__",
          [](const BodyMap& m, const std::string& name) {
            const Library library;
            const BaUnlockedTransform* const found =
                FindTransform(m->transforms(), TransformId(name));
            if (found == nullptr) throw py::key_error(name);
            return ToPython(*found);
          },
          py::arg("name"), "The transform 'x_translation' ... 'z_rotation'.")
      .def(
          "set",
          [](const BodyMap& m, const py::object& transform) {
            const Library library;
            const BaUnlockedTransform own = ToTransform(transform);
            m->setTransform(own.id(), own);
            m.owner()->object->setHighestSysVar();
          },
          py::arg("transform"), "Replaces the transform of this name where it stands.")
      .def_property_readonly(
          "rotation_order",
          [](const BodyMap& m) {
            const Library l;
            return m->rotationLetters();
          },
          "The axes of the rotations as they are applied, such as 'ZYX'.");
  BindIdentity<BodyMap>(&map,
                        [](const BodyMap& m) { return " of body " + std::to_string(m->bodyId()); });
}

}  // namespace

void BindMapping(py::module_& module) {
  BindBodyMap(module);
  py::class_<Mapping, MappingPtr>(module, "Mapping",
                                  "Which numbered variables drive which transforms of which "
                                  "bodies. A new one is empty. mapping[body_id] is a body's map.")
      .def(py::init([] {
        const Library l;
        return std::make_shared<Mapping>();
      }))
      .def_static("read", ReadMapping, py::arg("path"), py::kw_only(),
                  py::arg("load_includes") = true,
                  "Reads a mapping file, and what it includes unless told otherwise. Raises "
                  "kestrix.Error.")
      .def("save", SaveMapping, py::arg("path"),
           "Writes the mapping, whole or not at all. Raises kestrix.Error.")
      .def_property_readonly("body_maps", MapsOf, "The maps of all mapped bodies, in file order.")
      .def("__getitem__", MapAt, py::arg("body_id"))
      .def(
          "__contains__",
          [](const Mapping& m, const py::object& id) {
            const Library library;
            if (!py::isinstance<py::int_>(id)) return false;
            int overflow = 0;
            const long long number = PyLong_AsLongLongAndOverflow(id.ptr(), &overflow);
            return overflow == 0 && std::in_range<int>(number) &&
                   std::as_const(*m.object).bodyMap(static_cast<int>(number)) != nullptr;
          },
          py::arg("body_id"))
      .def("__iter__", [](const MappingPtr& m) { return py::iter(MapsOf(m)); })
      .def("__len__",
           [](const Mapping& m) {
             const Library library;
             return m.object->bodyMaps().count();
           })
      .def("__eq__",
           [](const Mapping& a, const py::object& b) {
             const Library library;
             return py::isinstance<Mapping>(b) && *a.object == *b.cast<const Mapping&>().object;
           })
      .def("add", AddMap, py::arg("body_id"), py::arg("transforms") = py::tuple(),
           "Adds the map of a body, given as kestrix.Transform objects; see BodyMap.transforms. "
           "Raises ValueError.")
      .def("remove", RemoveMap, py::arg("body_id"), "Removes a body's map.")
      .def("remove_unused", RemoveUnusedMaps, "Removes the maps that no variable drives.")
      .def("change_body_ids", ChangeMapIds, py::arg("new_ids"),
           "Gives bodies other ids, from old to new; ids that are not mapped do no harm.")
      .def("renumber_variables", RenumberVariables, py::arg("new_ids"),
           "Gives the variables of transforms other ids, from old to new.")
      .def("merge", Merge, py::arg("other"), py::kw_only(), py::arg("body_id_offset") = 0,
           py::arg("variable_offset") = py::none(),
           "Adds what another mapping holds, with offsets added to its ids; without an offset its "
           "variables follow on those of this one. Raises kestrix.Error where ids clash.")
      .def_property_readonly(
          "variables",
          [](const Mapping& m) {
            const Library library;
            std::vector<int> ids;
            for (const auto& [id, driven] : m.object->allDriven()) {
              ids.push_back(id);
            }
            return ids;
          },
          "The variables in use, ascending.")
      .def_property_readonly(
          "highest_variable",
          [](const Mapping& m) {
            const Library library;
            return m.object->highestSysVarUsed();
          },
          "The highest variable in use, 0 for none.")
      .def_property_readonly(
          "variables_stated",
          [](const Mapping& m) {
            const Library library;
            return m.object->numSysVarsStated();
          },
          "The number of variables that the file stated.")
      .def(
          "driven_by",
          [](const Mapping& m, long long variable) {
            const Library library;
            return ToPython(m.object->drivenBy(CheckVariable(variable, 1)));
          },
          py::arg("variable"), "All that a variable drives, as kestrix.Driven objects.")
      .def(
          "all_driven",
          [](const Mapping& m) {
            const Library library;
            py::dict all;
            for (const auto& [id, driven] : m.object->allDriven()) {
              all[py::int_(id)] = ToPython(driven);
            }
            return all;
          },
          "The same for every variable in use, by variable.")
      .def_property_readonly(
          "texture_variables",
          [](const Mapping& m) {
            const Library library;
            py::dict all;
            for (const auto& map : m.object->textureIndexMaps()) {
              all[py::int_(map.material_id)] = map.sysvar_id;
            }
            return all;
          },
          "The variables that choose textures, by material id.")
      .def_property_readonly("slider_variables", SlidersOf,
                             "The variables that drive sliders, by (group, slider).")
      .def("check_compatible", CanLoad, py::arg("source"), py::arg("model") = nullptr,
           "True when what was recorded for `source` can be loaded onto this mapping; otherwise "
           "kestrix.Error names the first body of which that is not so.")
      .def("__repr__", [](const Mapping& m) {
        const Library library;
        return "<kestrix.Mapping of " + std::to_string(m.object->bodyMaps().count()) + " bodies>";
      });
}
