#include "viewpage.h"

#include <array>
#include <bit>
#include <cstddef>
#include <map>
#include <ostream>
#include <span>
#include <vector>

#include "Ba/bamapping.h"
#include "Ba/bamdbody.h"
#include "Ba/bamdslidergroup.h"
#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Bt/btfile.h"
#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxscene.h"
#include "findings.h"
#include "viewtemplate.h"

namespace {

// Raised when the page would not understand an older program's data, or the other way round.
constexpr int kViewSchema = 1;

// Variables of sliders by group and slider. Mappings name groups without blanks, as models do.
using SliderVariables = std::map<std::pair<std::string, std::string>, int>;

SliderVariables VariablesOfSliders(const BaUnlockedMapping& mapping) {
  SliderVariables variables;
  for (const auto& group : mapping.blendEffectMaps()) {
    for (const auto& slider : group.sliders) {
      variables.try_emplace({Text(group.slider_group), Text(slider.name)}, slider.sysvar_id);
    }
  }
  return variables;
}

// Each transform in the order of application: [[id, constant, [[variable, coefficient] ...]] ...].
Json TransformsOf(const BaUnlockedBodyMap* map) {
  Json transforms = Json::array();
  if (map == nullptr) return transforms;
  for (const BaUnlockedTransform& transform : map->transforms()) {
    Json terms = Json::array();
    if (transform.isCombination()) {
      for (const BaUnlockedTransform::Term& term : transform.terms()) {
        terms.push_back({term.sysvar_id, term.coefficient});
      }
    } else if (transform.exists() && transform.sysVarId() > 0) {
      terms.push_back({transform.sysVarId(), 1});
    }
    transforms.push_back(
        {{"id", transform.id()}, {"constant", transform.constant()}, {"terms", std::move(terms)}});
  }
  return transforms;
}

// Walks the nodes of the scene as a reader of the file meets them.
class SceneWalk {
 public:
  explicit SceneWalk(const ViewSource& source) : _source(source) {}

  void run() {
    std::vector<Place> places = {{_source.scene.GetRootNode(), 0}};
    while (!places.empty()) {
      const Place place = places.back();
      places.pop_back();
      const int id = _visit(*place.node, place.parent);
      for (int i = place.node->GetChildCount(); i-- > 0;) {
        places.push_back({place.node->GetChild(i), id});
      }
    }
  }

  Json bodies = Json::array();
  Json meshes = Json::array();

 private:
  struct Place {
    const KFbxNode* node;
    int parent;  // the id of the body above, 0 for none
  };

  // Answers the id of the body that the node's children hang under.
  int _visit(const KFbxNode& node, int parent) {
    if (node.GetMesh() != nullptr) {
      meshes.push_back({{"body", parent}, {"sliders", _slidersOf(*node.GetMesh())}});
      return parent;
    }
    const BaMDBody* body =
        node.GetParent() == nullptr ? nullptr : _source.model_data.bodyByName(node.GetName());
    if (body == nullptr) return parent;
    bodies.push_back({{"id", body->id()},
                      {"name", Text(body->name())},
                      {"parent", parent},
                      {"transforms", TransformsOf(_source.mapping.bodyMap(body->id()))}});
    return body->id();
  }

  // The places, in the list of all sliders, of those that move the mesh, in the order of the file.
  [[nodiscard]] Json _slidersOf(const KFbxMesh& mesh) const {
    Json places = Json::array();
    for (int i = 0; i < mesh.GetDeformerCount(); ++i) {
      const auto* shapes = dynamic_cast<const KFbxBlendShape*>(mesh.GetDeformer(i));
      if (shapes == nullptr) continue;
      for (int k = 0; k < shapes->GetBlendShapeChannelCount(); ++k) {
        places.push_back(_placeOf(shapes->GetName(), shapes->GetBlendShapeChannel(k)->GetName()));
      }
    }
    return places;
  }

  [[nodiscard]] int _placeOf(const std::string& group_name, const std::string& slider_name) const {
    int place = 0;
    for (const BaMDSliderGroup* group : _source.model_data.sliderGroups()) {
      for (const BtStr& slider : group->sliders()) {
        if (Text(group->name()) == group_name && Text(slider) == slider_name) return place;
        ++place;
      }
    }
    return place;
  }

  const ViewSource& _source;
};

Json SlidersOf(const ViewSource& source) {
  const SliderVariables variables = VariablesOfSliders(source.mapping);
  Json sliders = Json::array();
  for (const BaMDSliderGroup* group : source.model_data.sliderGroups()) {
    for (const BtStr& slider : group->sliders()) {
      const auto variable = variables.find({Text(group->name()), Text(slider)});
      sliders.push_back({{"group", Text(group->name())},
                         {"name", Text(slider)},
                         {"variable", variable == variables.end() ? 0 : variable->second}});
    }
  }
  return sliders;
}

Json TexturesOf(const ViewSource& source) {
  Json textures = Json::array();
  for (const auto& map : source.mapping.textureIndexMaps()) {
    if (map.sysvar_id <= 0) continue;
    const BaMaterial* material = source.model.materialById(map.material_id);
    textures.push_back(
        {{"variable", map.sysvar_id},
         {"material", material == nullptr ? "material " + std::to_string(map.material_id)
                                          : Text(material->name())}});
  }
  return textures;
}

void CutFolder(Json* file) {
  if (file->is_string()) *file = Text(BtFileBaseName(file->get<std::string>().c_str()));
}

// The findings, files named without their folders: pages are handed on.
Json FindingsOf(const Findings& findings) {
  Json list = ToJson(findings);
  for (Json& finding : list) {
    Json& place = finding["place"];
    if (place["kind"] == "model" || place["kind"] == "mapping") CutFolder(&place["name"]);
    CutFolder(&finding["file"]);
    Json& where = finding["where"];
    if (where.is_null()) continue;
    CutFolder(&where["file"]);
    for (Json& file : where["included_by"]) CutFolder(&file);
  }
  return list;
}

// Calls write(text) with the letters of the bytes, four at a time.
template <class Write>
void EncodeBase64(std::string_view bytes, Write write) {
  constexpr std::string_view kLetters =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr std::size_t kGroup = 3;
  for (std::size_t at = 0; at < bytes.size(); at += kGroup) {
    const std::string_view group = bytes.substr(at, kGroup);
    unsigned bits = 0;
    for (std::size_t i = 0; i < kGroup; ++i) {
      bits = bits << 8U | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0U);
    }
    std::array<char, 4> letters = {'=', '=', '=', '='};
    for (std::size_t i = 0; i <= group.size(); ++i) {
      letters.at(i) = kLetters[bits >> (18U - 6U * i) & 63U];
    }
    write(std::string_view(letters.data(), letters.size()));
  }
}

// The numbers as they lie in memory, which is little-endian wherever the program runs.
template <class Number>
std::string Base64Of(const std::vector<Number>& numbers) {
  static_assert(std::endian::native == std::endian::little);
  const auto bytes = std::as_bytes(std::span(numbers));
  std::string text;
  text.reserve(4 * (bytes.size() / 3 + 1));
  EncodeBase64({reinterpret_cast<const char*>(bytes.data()), bytes.size()},
               [&](std::string_view letters) { text += letters; });
  return text;
}

Json TakesOf(const std::vector<ViewTake>& takes) {
  Json list = Json::array();
  for (const auto& [name, motion] : takes) {
    const std::vector<int>& ids = motion.sysVarIds();
    const auto frames = static_cast<std::size_t>(motion.numFrames());
    std::vector<float> values(frames * ids.size());
    for (std::size_t column = 0; column < ids.size(); ++column) {
      const std::span<const float> of_variable = motion.values(ids[column]);
      for (std::size_t frame = 0; frame < frames; ++frame) {
        values[frame * ids.size() + column] = of_variable[frame];
      }
    }
    list.push_back({{"name", name},
                    {"rate", motion.rate()},
                    {"variables", ids},
                    {"times", Base64Of(motion.times())},
                    {"values", Base64Of(values)}});
  }
  return list;
}

// JSON that stands safely between script tags: no text in it can end the element.
std::string ScriptSafe(const Json& data) {
  std::string safe;
  for (const char c : data.dump(-1, ' ', false, Json::error_handler_t::replace)) {
    if (c == '<') {
      safe += "\\u003c";
    } else {
      safe += c;
    }
  }
  return safe;
}

}  // namespace

Json ViewData(const ViewSource& source) {
  SceneWalk walk(source);
  walk.run();
  return {{"schema", kViewSchema},
          {"title", source.title},
          {"scaleFactor", source.scale_factor},
          {"units",
           {{"angle", source.units.angle},
            {"length", source.units.length},
            {"lengthName", source.length_unit}}},
          {"bodies", std::move(walk.bodies)},
          {"meshes", std::move(walk.meshes)},
          {"sliders", SlidersOf(source)},
          {"textures", TexturesOf(source)},
          {"takes", TakesOf(source.takes)},
          {"findings", FindingsOf(source.findings)}};
}

void PrintViewPage(const Json& data, const std::string& fbx, std::ostream& os) {
  const ViewTemplate page = TheViewTemplate();
  os << page.before << R"(<script type="application/json" id="kestrix-data">)" << ScriptSafe(data)
     << "</script>\n"
     << R"(<script type="text/plain" id="kestrix-fbx">)";
  EncodeBase64(fbx, [&](std::string_view letters) { os << letters; });
  os << "</script>" << page.after;
}
