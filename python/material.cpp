// Materials with their textures, lights.
#include <pybind11/stl.h>

#include <cmath>

#include "arrays.h"
#include "objects.h"

namespace {

constexpr const char* kTextureKinds[] = {"decal", "cube environment", "environment"};

BaTexture::Kind KindOfTexture(const std::string& kind) {
  for (int i = 0; i < BaTexture::TEX_MAX_TYPES; ++i) {
    if (kind == kTextureKinds[i]) return static_cast<BaTexture::Kind>(i);
  }
  throw py::value_error("the kind must be 'decal', 'cube environment' or 'environment'");
}

py::object TextOrNone(const BtStr& text) {
  return text.isNull() ? py::object(py::none()) : py::object(TextOf(text.view()));
}

// As kestrix.Texture has it.
py::object ToPythonTexture(const BaTexture& texture) {
  return py::module_::import("kestrix._types")
      .attr("Texture")(TextOrNone(texture.fileName()), kTextureKinds[texture.kind()],
                       texture.unit(), TextOrNone(texture.sAttributes()),
                       TextOrNone(texture.tAttributes()));
}

BaTexture ToTexture(const py::handle& python) {
  BaTexture texture;
  texture.setFileName(NameText(python.attr("file"), "the file of a texture").c_str());
  texture.setKind(KindOfTexture(python.attr("kind").cast<std::string>()));
  const int unit = python.attr("unit").cast<int>();
  if (unit < 0) throw py::value_error("the unit of a texture must not be negative");
  texture.setUnit(unit);
  const py::object s = python.attr("s_attributes");
  const py::object t = python.attr("t_attributes");
  if (!s.is_none()) texture.setSAttributes(NameText(s, "wrap attributes").c_str());
  if (!t.is_none()) texture.setTAttributes(NameText(t, "wrap attributes").c_str());
  return texture;
}

py::object AttributeOf(const Material& material, Ba_MatAttr_t kind) {
  const Library library;
  const Ba_MatAttr* const attribute = material->attribute(kind);
  if (attribute == nullptr) return py::none();
  const std::span<const float> values = attribute->values();
  if (values.size() == 1) return py::float_(values[0]);
  return py::make_tuple(values[0], values[1], values[2]);
}

void SetAttribute(BaMaterial* material, const Ba_MatAttrInfo& info, const py::object& value) {
  if (value.is_none()) {
    if (material->attribute(info.kind) == nullptr) return;
    throw py::value_error(std::string("the ") + info.name + " cannot be taken away");
  }
  const auto numbers = info.is_colour ? value.cast<std::vector<double>>()
                                      : std::vector<double>{value.cast<double>()};
  if (numbers.size() != info.count()) throw py::value_error("a colour has three numbers");
  std::vector<float> floats;
  for (const double number : numbers) floats.push_back(ToFloat(number, info.name));
  std::copy(floats.begin(), floats.end(), material->addAttribute(info.kind)->values().begin());
}

void SetTextures(BaMaterial* material, const py::iterable& python) {
  std::vector<BaTexture> textures;
  for (const py::handle texture : python) textures.push_back(ToTexture(texture));
  if (textures.empty()) {
    if (material->textures().empty()) return;
    throw py::value_error("the last texture cannot be taken away");
  }
  material->setTexture(textures[0]);
  for (std::size_t i = 1; i < textures.size(); ++i) material->addTexture(textures[i]);
}

Material AddMaterial(const ModelPtr& model, const py::object& name, std::optional<long long> id,
                     const py::iterable& textures, const py::kwargs& attributes) {
  const Library library;
  BaModel& own = *model->object;
  BaMaterial material;
  const std::string text = NameText(name, "the name of a material");
  if (own.materialByName(text.c_str()) != nullptr) {
    throw py::value_error("there is a material of this name");
  }
  if (id && (*id < 0 || !std::in_range<int>(*id))) throw py::value_error("invalid id");
  const int new_id = id ? static_cast<int>(*id) : FreeMaterialId(own);
  if (own.materialById(new_id) != nullptr) {
    throw py::value_error("there is a material with this id");
  }
  material.setName(text.c_str());
  material.setId(new_id);
  for (const auto& [key, value] : attributes) {
    const auto attribute_name = key.cast<std::string>();
    const auto* const info = std::ranges::find(kBaMatAttrs, attribute_name, &Ba_MatAttrInfo::name);
    if (info == std::end(kBaMatAttrs)) {
      throw py::type_error("a material has no attribute '" + attribute_name + "'");
    }
    SetAttribute(&material, *info, py::reinterpret_borrow<py::object>(value));
  }
  SetTextures(&material, textures);
  return HandleOf(model, own.addMaterial(material));
}

void SetMaterialName(const Material& material, const py::object& name) {
  const Library library;
  const std::string text = NameText(name, "the name of a material");
  if (material->name() == text.c_str()) return;
  BaModel& model = *material.owner()->object;
  if (model.materialByName(text.c_str()) != nullptr) {
    throw py::value_error("there is a material of this name");
  }
  model.renameMaterial(&material.part(), text.c_str());
}

void SetMaterialId(const Material& material, long long id) {
  const Library library;
  if (id < 0 || !std::in_range<int>(id)) throw py::value_error("invalid id");
  const auto new_id = static_cast<int>(id);
  if (material->id() == new_id) return;
  BaModel& model = *material.owner()->object;
  if (model.materialById(new_id) != nullptr) {
    throw py::value_error("there is a material with this id");
  }
  model.changeMaterialId(&material.part(), new_id);
}

py::list MaterialsOf(const ModelPtr& model) {
  const Library library;
  py::list materials;
  for (const auto& material : model->object->materials()) {
    materials.append(HandleOf(model, material.get()));
  }
  return materials;
}

// The names of a light's numbers, in the order of Ba_LightAttr_t.
constexpr const char* kLightAttributes[] = {"ambient",      "color",          "specular",
                                            "position",     "spot_direction", "spot_light",
                                            "local_viewer", "attenuation"};

template <class Light>
py::list ToPythonLights(const BtList<std::unique_ptr<Light>>& lights) {
  py::list list;
  for (const auto& light : lights) {
    py::dict attributes;
    for (const auto& attribute : light->attributes().list()) {
      py::list values;
      for (const float value : attribute->values()) values.append(value);
      attributes[kLightAttributes[attribute->kind()]] = py::tuple(values);
    }
    list.append(
        py::module_::import("kestrix._types").attr("Light")(light->id(), light->on(), attributes));
  }
  return list;
}

// Adds a light or a lighting model, whose attributes have codes of their own.
template <class Light, class Add>
void AddLightTo(const BtList<std::unique_ptr<Light>>& lights, const py::handle& python,
                int Ba_LightAttrInfo::*code, Add add) {
  Light light;
  light.setId(python.attr("id").cast<int>());
  light.setOn(python.attr("on").cast<bool>());
  for (const auto& own : lights) {
    if (own->id() == light.id()) throw py::value_error("there is a light with this id");
  }
  for (const auto& [key, value] : py::cast<py::dict>(python.attr("attributes"))) {
    const auto name = py::cast<std::string>(key);
    const auto* const found = std::ranges::find(kLightAttributes, name);
    const auto kind = static_cast<Ba_LightAttr_t>(found - std::begin(kLightAttributes));
    if (found == std::end(kLightAttributes) || Ba_InfoOf(kind).*code == 0) {
      throw py::value_error("it has no attribute '" + name + "'");
    }
    const auto numbers = py::cast<std::vector<double>>(value);
    if (numbers.size() != Ba_InfoOf(kind).count) {
      throw py::value_error("'" + name + "' has " + std::to_string(Ba_InfoOf(kind).count) +
                            " numbers");
    }
    const std::span<float> values = light.attributes().add(kind)->values();
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      values[i] = ToFloat(numbers[i], kLightAttributes[kind]);
    }
  }
  add(light);
}

}  // namespace

void BindMaterial(py::module_& module) {
  py::class_<Material> material(module, "Material",
                                "A material of a model. Colours are (red, green, blue); an "
                                "attribute that the material does not have is None.\n\n"
                                "After it was removed every use raises ReferenceError.");
  material
      .def_property_readonly(
          "model", [](const Material& m) { return m.owner(); }, "The model that it belongs to.")
      .def_property(
          "id",
          [](const Material& m) {
            const Library l;
            return m->id();
          },
          SetMaterialId, "The id; what uses the material follows.")
      .def_property(
          "name",
          [](const Material& m) {
            const Library l;
            return TextOf(m->name().view());
          },
          SetMaterialName, "The name; ValueError for one that is taken.")
      .def_property(
          "textures",
          [](const Material& m) {
            const Library library;
            py::list textures;
            for (const BaTexture& texture : m->textures()) {
              textures.append(ToPythonTexture(texture));
            }
            return textures;
          },
          [](const Material& m, const py::iterable& textures) {
            const Library library;
            SetTextures(&m.part(), textures);
          },
          "Its kestrix.Texture objects, a new list.")
      .def_property(
          "flag",
          [](const Material& m) {
            const Library l;
            return m->flag();
          },
          [](const Material& m, bool flag) {
            const Library l;
            m->setFlag(flag);
          },
          "A flag of legacy files that is kept as read.");
  BindIdentity(&material, IdAndName<Material>);
  for (const Ba_MatAttrInfo& info : kBaMatAttrs) {
    material.def_property(
        info.name, [&info](const Material& m) { return AttributeOf(m, info.kind); },
        [&info](const Material& m, const py::object& value) {
          const Library library;
          SetAttribute(&m.part(), info, value);
        },
        info.is_colour ? "(red, green, blue), or None." : "A number, or None.");
  }

  auto model = py::class_<Model, ModelPtr>(module.attr("Model"));
  model.def_property_readonly("materials", MaterialsOf, "All materials, in file order.")
      .def(
          "material",
          [](const ModelPtr& m, const py::object& key) {
            const Library library;
            return HandleOf(m, &MaterialOf(m, key));
          },
          py::arg("key"), "The material of a name or an id; KeyError where there is none.")
      .def("add_material", AddMaterial, py::arg("name"), py::kw_only(), py::arg("id") = py::none(),
           py::arg("textures") = py::tuple(),
           "Adds a material. Its attributes are keywords: emission, ambient, diffuse, specular "
           "(colours), shininess, alpha. Raises ValueError for a name or an id that is taken.")
      .def_property_readonly(
          "lights",
          [](const Model& m) {
            const Library library;
            return ToPythonLights(m.object->lights());
          },
          "The lights of a legacy model, kestrix.Light objects.")
      .def_property_readonly(
          "lighting_models",
          [](const Model& m) {
            const Library library;
            return ToPythonLights(m.object->lightingModels());
          },
          "How all lights together light a legacy model.")
      .def(
          "add_light",
          [](const Model& m, const py::object& light) {
            const Library library;
            AddLightTo<BaLight>(m.object->lights(), light, &Ba_LightAttrInfo::light_code,
                                [&](const BaLight& own) { m.object->addLight(own); });
          },
          py::arg("light"), "Adds a kestrix.Light; ValueError for an id that is taken.")
      .def(
          "add_lighting_model",
          [](const Model& m, const py::object& light) {
            const Library library;
            AddLightTo<BaLightingModel>(
                m.object->lightingModels(), light, &Ba_LightAttrInfo::model_code,
                [&](const BaLightingModel& own) { m.object->addLightingModel(own); });
          },
          py::arg("lighting_model"), "Adds a lighting model, given as a kestrix.Light.");
}
