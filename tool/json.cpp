#include "json.h"

#include <cmath>
#include <ostream>

#include "Ba/bamapping.h"
#include "fbxfacts.h"
#include "findings.h"
#include "modelfacts.h"

namespace {

// Raised when a key goes or changes its meaning, not when one is added.
constexpr int kSchemaVersion = 1;

// A list of the answers of `to_json` for each element.
template <class List, class Convert>
Json ListOf(const List& list, Convert to_json) {
  Json json = Json::array();
  for (const auto& element : list) json.push_back(to_json(element));
  return json;
}

// Numbers that JSON has no form for become null.
Json Number(double number) { return std::isfinite(number) ? Json(number) : Json(nullptr); }

Json TextOrNull(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

template <class Properties>
Json NumbersByName(const Properties& properties) {
  Json json = Json::object();
  for (const auto& [name, values] : properties) {
    json[name] = ListOf(values, [](double value) { return Number(value); });
  }
  return json;
}

Json JsonOf(const BodyFacts& body) {
  Json weights = Json::array();
  for (const auto& [id, weight] : body.weights) {
    weights.push_back({{"body", id}, {"vertices", weight.vertices}, {"sum", Number(weight.sum)}});
  }
  return {{"id", body.id},
          {"name", body.name},
          {"parent", body.parent_id == 0 ? Json(nullptr) : Json(body.parent_id)},
          {"depth", body.depth},
          {"position", ToJson(body.position)},
          {"rotation", ToJson(body.rotation)},
          {"world_position", ToJson(body.world_position)},
          {"mapped", body.mapped ? Json(*body.mapped) : Json(nullptr)},
          {"rotation_order", TextOrNull(body.rotation_order)},
          {"fbx_rotation_order", TextOrNull(body.fbx_rotation_order)},
          {"polygons", body.polygons},
          {"corners", body.corners},
          {"vertices", body.vertices},
          {"bones", body.bones},
          {"weights", std::move(weights)},
          {"bounding_box", ToJson(body.box)}};
}

Json JsonOf(const TextureFacts& texture) {
  const bool found = !texture.path.empty();
  return {{"file", texture.file},
          {"kind", texture.kind},
          {"unit", texture.unit},
          {"s_attributes", TextOrNull(texture.s_attributes)},
          {"t_attributes", TextOrNull(texture.t_attributes)},
          {"found", found},
          {"path", TextOrNull(texture.path)},
          {"bytes", found ? Json(texture.bytes) : Json(nullptr)},
          {"format", TextOrNull(texture.format)},
          {"width", texture.width},
          {"height", texture.height}};
}

Json JsonOf(const MaterialFacts& material) {
  return {{"id", material.id},
          {"name", material.name},
          {"polygons", material.polygons},
          {"bones", material.bones},
          {"attributes", NumbersByName(material.attributes)},
          {"textures", ListOf(material.textures, [](const auto& t) { return JsonOf(t); })}};
}

Json JsonOf(const SliderGroupFacts& group) {
  return {{"name", group.name}, {"sliders", ListOf(group.sliders, [](const SliderFacts& slider) {
                                   return Json{{"name", slider.name},
                                               {"vertices", slider.vertices},
                                               {"largest_move", Number(slider.largest_move)}};
                                 })}};
}

Json JsonOf(const std::optional<UnitFacts>& unit) {
  if (!unit) return nullptr;
  return {{"name", unit->name}, {"factor", Number(unit->factor)}};
}

Json JsonOf(const FbxNodeFacts& node) {
  return {{"name", node.name},
          {"kind", node.kind},
          {"parent", node.parent < 0 ? Json(nullptr) : Json(node.parent)},
          {"depth", node.depth},
          {"translation", ToJson(node.translation)},
          {"pre_rotation", ToJson(node.pre_rotation)},
          {"rotation_order", node.rotation_order}};
}

Json JsonOf(const FbxMeshFacts& mesh) {
  return {
      {"name", mesh.name},       {"vertices", mesh.vertices},   {"polygons", mesh.polygons},
      {"corners", mesh.corners}, {"materials", mesh.materials}, {"clusters", mesh.clusters},
      {"weights", mesh.weights}, {"shapes", mesh.shapes},       {"bounding_box", ToJson(mesh.box)}};
}

Json JsonOf(const BaUnlockedTransform& transform) {
  constexpr const char* kNames[] = {"tx", "ty", "tz", "rx", "ry", "rz"};
  Json json = {{"transform", kNames[transform.id() - 1]}};
  if (!transform.isCombination()) {
    json["variable"] = transform.exists() ? transform.sysVarId() : 0;
    return json;
  }
  json["constant"] = Number(static_cast<double>(transform.constant()));
  json["terms"] = ListOf(transform.terms(), [](const BaUnlockedTransform::Term& term) {
    return Json{{"variable", term.sysvar_id},
                {"coefficient", Number(static_cast<double>(term.coefficient))}};
  });
  return json;
}

}  // namespace

Json JsonHeader(const char* command) {
  return {{"tool", "kestrix-tool"}, {"schema", kSchemaVersion}, {"command", command}};
}

void PrintJson(const Json& value, std::ostream& os) {
  os << value.dump(1, ' ', false, Json::error_handler_t::replace) << "\n";
}

Json ToJson(const Point& point) {
  return ListOf(point, [](double value) { return Number(value + 0.0); });
}

Json ToJson(const Box& box) {
  if (!box.min) return nullptr;
  return {{"min", ToJson(*box.min)}, {"max", ToJson(*box.max)}};
}

Json ToJson(const Where& where) {
  if (where.file.empty()) return nullptr;
  return {{"file", where.file},
          {"line", where.line == 0 ? Json(nullptr) : Json(where.line)},
          {"column", where.line == 0 ? Json(nullptr) : Json(where.column)},
          {"included_by", where.included_by}};
}

Json ToJson(const std::vector<Message>& messages) {
  Json json = Json::array();
  for (const Message& message : messages) {
    if (!message.is_error)
      json.push_back(
          {{"text", message.text}, {"count", message.count}, {"where", ToJson(message.where)}});
  }
  return json;
}

Json ToJson(const ModelFacts& facts) {
  return {{"dialect", facts.dialect},
          {"version", facts.version},
          {"units", {{"length", JsonOf(facts.length_unit)}, {"angle", JsonOf(facts.angle_unit)}}},
          {"combine_vertex_normals", facts.combine_vertex_normals},
          {"counts",
           {{"bodies", facts.bodies.size()},
            {"polygons", facts.polygons},
            {"corners", facts.corners},
            {"vertices", facts.vertices},
            {"bones", facts.bones},
            {"materials", facts.materials.size()},
            {"slider_groups", facts.slider_groups.size()},
            {"flexible_polygons", facts.flexible_polygons},
            {"lights", facts.lights},
            {"lighting_models", facts.lighting_models},
            {"muscles", facts.muscles}}},
          {"bounding_box", ToJson(facts.box)},
          {"bodies", ListOf(facts.bodies, [](const auto& body) { return JsonOf(body); })},
          {"materials", ListOf(facts.materials, [](const auto& m) { return JsonOf(m); })},
          {"slider_groups", ListOf(facts.slider_groups, [](const auto& g) { return JsonOf(g); })}};
}

Json ToJson(const FbxFacts& facts) {
  Json info = Json::object();
  for (const auto& [name, text] : facts.info) info[name] = text;
  return {{"bytes", facts.bytes},
          {"version", facts.version},
          {"creator", facts.creator},
          {"created", facts.created},
          {"info", std::move(info)},
          {"objects", facts.objects},
          {"nodes", ListOf(facts.nodes, [](const auto& node) { return JsonOf(node); })},
          {"meshes", ListOf(facts.meshes, [](const auto& mesh) { return JsonOf(mesh); })},
          {"materials", ListOf(facts.materials,
                               [](const FbxMaterialFacts& material) {
                                 return Json{{"name", material.name},
                                             {"properties", NumbersByName(material.properties)}};
                               })},
          {"textures", ListOf(facts.textures,
                              [](const FbxTextureFacts& texture) {
                                return Json{{"name", texture.name},
                                            {"file", texture.file},
                                            {"target", TextOrNull(texture.target)},
                                            {"property", TextOrNull(texture.property)}};
                              })},
          {"videos", ListOf(facts.videos,
                            [](const FbxVideoFacts& video) {
                              return Json{{"name", video.name},
                                          {"file", video.file},
                                          {"embedded_bytes", video.embedded_bytes}};
                            })},
          {"pose_nodes", facts.pose_nodes}};
}

Json ToJson(const Findings& findings) {
  Json list = Json::array();
  for (const Finding& finding : findings.list()) {
    list.push_back(
        {{"code", finding.kind->code},
         {"severity", SeverityName(finding.kind->severity)},
         {"summary", finding.kind->text},
         {"place",
          {{"kind", finding.place.kind},
           {"name", finding.place.name.empty() ? Json(nullptr) : Json(finding.place.name)},
           {"id", finding.place.id ? Json(*finding.place.id) : Json(nullptr)}}},
         {"text", finding.text},
         {"advice", finding.kind->advice},
         {"detail", TextOrNull(finding.detail)},
         {"where", ToJson(finding.where)},
         {"file", TextOrNull(finding.where.file)},
         {"line", finding.where.line == 0 ? Json(nullptr) : Json(finding.where.line)},
         {"column", finding.where.line == 0 ? Json(nullptr) : Json(finding.where.column)},
         {"body", TextOrNull(finding.body)},
         {"material", TextOrNull(finding.material)},
         {"count", finding.count}});
  }
  return list;
}

Json ToJson(const BaUnlockedMapping& mapping) {
  Json bodies = Json::array();
  for (const BaUnlockedBodyMap* map : mapping.bodyMaps()) {
    bodies.push_back(
        {{"id", map->bodyId()},
         {"rotation_order", map->rotationLetters()},
         {"transforms", ListOf(map->transforms(), [](const auto& t) { return JsonOf(t); })}});
  }
  Json textures = Json::array();
  for (const auto& map : mapping.textureIndexMaps()) {
    textures.push_back({{"material", map.material_id}, {"variable", map.sysvar_id}});
  }
  Json sliders = Json::array();
  for (const auto& map : mapping.blendEffectMaps()) {
    sliders.push_back({{"group", Text(map.slider_group)},
                       {"sliders", ListOf(map.sliders, [](const auto& slider) {
                          return Json{{"name", Text(slider.name)}, {"variable", slider.sysvar_id}};
                        })}});
  }
  return {{"variables", mapping.numSysVars()},
          {"frame_variables", mapping.highestSysVarUsed()},
          {"bodies", std::move(bodies)},
          {"textures", std::move(textures)},
          {"slider_groups", std::move(sliders)}};
}
