#include "differences.h"

#include <cmath>
#include <cstdint>
#include <fstream>
#include <map>
#include <string_view>
#include <utility>

#include "Bt/btfile.h"
#include "Bt/bthash.h"
#include "bapicturefile.h"
#include "geometry.h"
#include "messages.h"
#include "namedpairs.h"
#include "shapedifferences.h"
#include "style.h"

namespace {

// Compares two models, part by part.
class ModelDiffer {
 public:
  ModelDiffer(const ModelFile& a, const ModelFile& b, double tolerance)
      : _a(a.model),
        _b(b.model),
        _a_folder(BtFileDirectory(a.file.c_str())),
        _b_folder(BtFileDirectory(b.file.c_str())),
        _tolerance(tolerance) {}
  std::vector<Difference> run();

 private:
  void _add(const char* code, const char* kind, std::string name, std::string a, std::string b) {
    _found.push_back({code, kind, std::move(name), std::move(a), std::move(b)});
  }
  // Adds a difference where the texts differ.
  void _compare(const char* code, const char* kind, const std::string& name, const std::string& a,
                const std::string& b) {
    if (a != b) _add(code, kind, name, a, b);
  }
  void _compareSettings();
  void _compareBodies();
  void _compareBody(const BaBody& a, const BaBody& b);
  void _compareMaterials();
  void _compareMaterial(const BaMaterial& a, const BaMaterial& b);
  void _compareSliders();

  const BaModel& _a;
  const BaModel& _b;
  BtStr _a_folder;
  BtStr _b_folder;
  double _tolerance;
  std::vector<Difference> _found;
};

std::string NameOfBody(const BaModel& model, int id) {
  const BaBody* body = model.findBody(id);
  return id == 0 ? "the world" : body == nullptr ? std::to_string(id) : Text(body->name());
}

std::string UnitText(const BaUnits& units) {
  return Short(static_cast<double>(units.factor)) + " " + Text(units.name);
}

std::string OriginText(const BaBody& body) {
  std::string text;
  for (int c = 0; c < 3; ++c) {
    text += (c == 0 ? "" : " ") + Short(static_cast<double>(body.transform()(3, c)));
  }
  return text;
}

// The attributes of a material with their numbers; colours of zeros are as good as none.
std::map<Ba_MatAttr_t, std::vector<double>> AttributesOf(const BaMaterial& material) {
  std::map<Ba_MatAttr_t, std::vector<double>> attributes;
  for (const auto& attribute : material.attributes()) {
    const auto values = std::as_const(*attribute).values();
    attributes[attribute->kind()].assign(values.begin(), values.end());
  }
  for (const Ba_MatAttrInfo& attribute : kBaMatAttrs) {
    if (attributes.contains(attribute.kind)) continue;
    attributes[attribute.kind].assign(attribute.count(), static_cast<double>(attribute.initial));
  }
  return attributes;
}

// What a picture is known by: the hash of its bytes or, where it is not found, its name.
std::string PictureKey(const BaTexture& texture, const BtStr& folder) {
  constexpr std::uint64_t kPrime = 0x100000001B3;
  const BtStr path = BaFindPicture(folder, texture.fileName());
  std::ifstream file(Text(path), std::ios::binary);
  if (path.isNull() || !file) return Text(texture.fileName());
  std::uint64_t hash = 0xCBF29CE484222325;
  std::vector<char> block(std::size_t{1} << 16);
  while (file.read(block.data(), static_cast<std::streamsize>(block.size())), file.gcount() > 0) {
    for (std::streamsize i = 0; i < file.gcount(); ++i) {
      hash = (hash ^ static_cast<unsigned char>(block[static_cast<std::size_t>(i)])) * kPrime;
    }
  }
  return std::to_string(hash);
}

// The textures of a material in words: with the names in the model or, where there is a folder to
// look in, with the keys of their pictures.
std::string TexturesText(const BaMaterial& material, const BtStr* folder = nullptr) {
  constexpr const char* kKinds[] = {"decal", "cube environment", "environment"};
  std::string text;
  for (const BaTexture& texture : material.textures()) {
    if (texture.fileName().isNull()) continue;
    text += (text.empty() ? "" : ", ") + std::string(kKinds[texture.kind()]) + " " +
            (folder == nullptr ? Text(texture.fileName()) : PictureKey(texture, *folder));
    for (const BtStr& attributes : {texture.sAttributes(), texture.tAttributes()}) {
      if (!attributes.isNull()) text += " " + Text(attributes);
    }
    if (texture.unit() != 0) text += " unit " + std::to_string(texture.unit());
  }
  return text;
}

std::vector<const BaMaterial*> MaterialsOf(const BaModel& model) {
  std::vector<const BaMaterial*> materials;
  for (const auto& material : model.materials()) materials.push_back(&*material);
  return materials;
}

std::vector<Difference> ModelDiffer::run() {
  _compareSettings();
  _compareBodies();
  _compareMaterials();
  _compareSliders();
  return std::move(_found);
}

void ModelDiffer::_compareSettings() {
  _compare("units-changed", "model", "length", UnitText(_a.lengthUnits()),
           UnitText(_b.lengthUnits()));
  const auto normals = [](const BaModel& model) {
    return model.combineVertexNormals() ? "combined" : "flat";
  };
  _compare("normals-changed", "model", "normals", normals(_a), normals(_b));
  const struct {
    const char* name;
    int a;
    int b;
  } counts[] = {
      {"lights", _a.lights().count(), _b.lights().count()},
      {"lighting models", _a.lightingModels().count(), _b.lightingModels().count()},
      {"muscles", _a.muscles().count(), _b.muscles().count()},
      {"flexible polygons", _a.flexiblePolygons().size(), _b.flexiblePolygons().size()},
  };
  for (const auto& count : counts) {
    _compare("count-changed", "model", count.name, std::to_string(count.a),
             std::to_string(count.b));
  }
}

void ModelDiffer::_compareBodies() {
  ForEachPair(BodiesInOrder(_a), BodiesInOrder(_b), [this](const BaBody* a, const BaBody* b) {
    if (b == nullptr) {
      _add("body-removed", "body", Text(a->name()), "id " + std::to_string(a->id()), "");
    } else if (a == nullptr) {
      _add("body-added", "body", Text(b->name()), "", "id " + std::to_string(b->id()));
    } else {
      _compareBody(*a, *b);
    }
  });
}

void ModelDiffer::_compareBody(const BaBody& a, const BaBody& b) {
  const std::string name = Text(a.name());
  _compare("body-renumbered", "body", name, std::to_string(a.id()), std::to_string(b.id()));
  _compare("body-reparented", "body", name, NameOfBody(_a, a.parentId()),
           NameOfBody(_b, b.parentId()));
  double moved = 0;
  double turned = 0;
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 3; ++column) {
      double& off = row == 3 ? moved : turned;
      off = std::max(off, std::fabs(static_cast<double>(a.transform()(row, column)) -
                                    static_cast<double>(b.transform()(row, column))));
    }
  }
  if (moved > _tolerance) _add("body-moved", "body", name, OriginText(a), OriginText(b));
  if (turned > _tolerance) {
    _add("body-turned", "body", name, "", "axes differ by " + Short(turned));
  }
  _compare("bones-changed", "body", name, std::to_string(a.bones().size()),
           std::to_string(b.bones().size()));
  DiffShapes({_a, a}, {_b, b}, _tolerance, &_found);
}

void ModelDiffer::_compareMaterials() {
  ForEachPair(MaterialsOf(_a), MaterialsOf(_b), [this](const BaMaterial* a, const BaMaterial* b) {
    if (b == nullptr) {
      _add("material-removed", "material", Text(a->name()), "id " + std::to_string(a->id()), "");
    } else if (a == nullptr) {
      _add("material-added", "material", Text(b->name()), "", "id " + std::to_string(b->id()));
    } else {
      _compareMaterial(*a, *b);
    }
  });
}

void ModelDiffer::_compareMaterial(const BaMaterial& a, const BaMaterial& b) {
  const auto text = [](const std::vector<double>& values) {
    std::string numbers;
    for (const double value : values) numbers += " " + Short(value);
    return numbers;
  };
  auto others = AttributesOf(b);
  for (const auto& [kind, values] : AttributesOf(a)) {
    const bool equal =
        std::equal(values.begin(), values.end(), others[kind].begin(), others[kind].end(),
                   [this](double x, double y) { return std::fabs(x - y) <= _tolerance; });
    if (equal) continue;
    const std::string name = Ba_InfoOf(kind).name;
    _add("material-changed", "material", Text(a.name()), name + text(values),
         name + text(others[kind]));
  }
  if (TexturesText(a, &_a_folder) != TexturesText(b, &_b_folder)) {
    _add("texture-changed", "material", Text(a.name()), TexturesText(a), TexturesText(b));
  }
}

void ModelDiffer::_compareSliders() {
  const auto sliders_of = [](const BaModel& model) {
    std::vector<std::string> sliders;
    for (const auto& group : model.sliderGroups()) {
      for (const BtStr& slider : group->sliders()) {
        sliders.push_back(Text(group->name()) + " / " + Text(slider));
      }
    }
    return sliders;
  };
  const std::vector<std::string> a = sliders_of(_a);
  const std::vector<std::string> b = sliders_of(_b);
  const BtHashSet<std::string> in_a(a.begin(), a.end());
  const BtHashSet<std::string> in_b(b.begin(), b.end());
  for (const std::string& slider : a) {
    if (!in_b.contains(slider)) _add("slider-removed", "slider", slider, kThere, "");
  }
  for (const std::string& slider : b) {
    if (!in_a.contains(slider)) _add("slider-added", "slider", slider, "", kThere);
  }
}

}  // namespace

std::vector<Difference> DiffModels(const ModelFile& a, const ModelFile& b, double tolerance) {
  return ModelDiffer(a, b, tolerance).run();
}
