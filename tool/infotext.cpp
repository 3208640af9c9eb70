#include "infotext.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ostream>
#include <sstream>

#include "Ba/bamapping.h"
#include "Bt/bthash.h"
#include "fbxfacts.h"
#include "geometry.h"
#include "inputs.h"
#include "modelfacts.h"
#include "style.h"
#include "texttable.h"

namespace {

// Deeper levels are not indented further: a chain of 100,000 bodies must stay a list.
constexpr int kMaxIndent = 30;

std::string Indent(int depth) {
  return std::string(static_cast<std::size_t>(2 * std::min(depth, kMaxIndent)), ' ');
}

std::string Numbers(const Point& point) {
  return Short(point[0]) + " " + Short(point[1]) + " " + Short(point[2]);
}

std::string Numbers(const std::vector<double>& values) {
  std::string text;
  for (const double value : values) text += (text.empty() ? "" : " ") + Short(value);
  return text;
}

void PrintBox(const char* label, const Box& box, std::ostream& os) {
  if (!box.min) return;
  os << label << Numbers(*box.min) << "  to  " << Numbers(*box.max) << "\n";
}

std::string WeightsText(const BodyFacts& body, const BtHashMap<int, const BodyFacts*>& bodies) {
  std::string text;
  for (const auto& [id, weight] : body.weights) {
    if (id == body.id || weight.vertices == 0) continue;
    const auto target = bodies.find(id);
    const std::string name = target == bodies.end()
                                 ? (id == 0 ? "the world" : "body " + std::to_string(id) + "?")
                                 : target->second->name;
    text += (text.empty() ? "" : ", ") + name + " (" + std::to_string(weight.vertices) + ")";
  }
  return text;
}

void PrintBodies(const ModelFacts& facts, std::ostream& os) {
  BtHashMap<int, const BodyFacts*> bodies;
  for (const BodyFacts& body : facts.bodies) bodies.emplace(body.id, &body);
  TextTable table;
  table.add({"body", "id", "rest position", "in the world", "rotation", "order", "polygons",
             "vertices", "vertices that follow others"});
  for (const BodyFacts& body : facts.bodies) {
    table.add({Indent(body.depth) + body.name, std::to_string(body.id), Numbers(body.position),
               Numbers(body.world_position), Numbers(body.rotation),
               body.mapped.value_or(false) ? body.rotation_order : "-",
               std::to_string(body.polygons), std::to_string(body.vertices),
               WeightsText(body, bodies)});
  }
  PrintTitle("Bodies", os);
  table.printOn(os);
}

std::string TextureText(const TextureFacts& texture) {
  std::string text = texture.kind + " " + texture.file;
  if (texture.path.empty()) return text + " (missing)";
  text += " (" + std::to_string(texture.bytes) + " bytes";
  if (!texture.format.empty()) text += ", " + texture.format;
  if (texture.width > 0) {
    text += " " + std::to_string(texture.width) + " x " + std::to_string(texture.height);
  }
  return text + ")";
}

void PrintMaterials(const ModelFacts& facts, std::ostream& os) {
  PrintTitle("Materials", os);
  for (const MaterialFacts& material : facts.materials) {
    os << "  " << Styled(Style::Plain, material.name) << " (id " << material.id
       << "): " << Counted(material.polygons, "polygon", "polygons");
    if (material.bones > 0) os << ", " << Counted(material.bones, "bone", "bones");
    os << "\n";
    for (const auto& [name, values] : material.attributes) {
      os << "    " << Padded(name, 10) << Numbers(values) << "\n";
    }
    for (const TextureFacts& texture : material.textures) {
      const Style style = texture.path.empty() ? Style::Warning : Style::Plain;
      os << "    texture   " << Styled(style, TextureText(texture)) << "\n";
    }
  }
}

void PrintSliders(const ModelFacts& facts, std::ostream& os) {
  PrintTitle("Sliders", os);
  for (const SliderGroupFacts& group : facts.slider_groups) {
    os << "  " << Styled(Style::Plain, group.name) << "\n";
    for (const SliderFacts& slider : group.sliders) {
      os << "    " << Styled(Style::Plain, slider.name) << ": "
         << Counted(slider.vertices, "vertex", "vertices") << ", moves up to "
         << Short(slider.largest_move) << "\n";
    }
  }
}

// As files write it.
std::string VersionText(double version) {
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%.2f", version);
  return text.data();
}

std::string UnitsText(const ModelFacts& facts) {
  if (!facts.length_unit || !facts.angle_unit) return "not stated, taken as inches";
  return Short(facts.length_unit->factor) + " " + Printable(facts.length_unit->name) + ", " +
         Short(facts.angle_unit->factor) + " " + Printable(facts.angle_unit->name);
}

// In the model's unit, and as a conversion writes it.
void PrintSize(const ModelFacts& facts, double scale_factor, std::ostream& os) {
  if (!facts.box.min) return;
  const Point size = *facts.box.max - *facts.box.min;
  const bool is_named = facts.length_unit && facts.length_unit->factor == 1.0;
  const std::string unit = is_named ? Printable(facts.length_unit->name)
                                    : std::string(facts.length_unit ? "units" : "INCHES");
  os << "  size      " << Numbers(size) << " " << unit << ", converted "
     << Numbers(Point{size[0] * scale_factor, size[1] * scale_factor, size[2] * scale_factor})
     << " cm\n";
}

void PrintSummary(const ModelFacts& facts, double scale_factor, std::ostream& os) {
  os << "  model     " << facts.dialect << ", version " << VersionText(facts.version) << "\n"
     << "  units     " << UnitsText(facts) << "\n"
     << "  holds     " << Counted(static_cast<long long>(facts.bodies.size()), "body", "bodies")
     << ", " << Counted(facts.polygons, "polygon", "polygons") << ", "
     << Counted(facts.vertices, "vertex", "vertices") << ", "
     << Counted(facts.bones, "bone", "bones");
  const struct {
    int count;
    const char* one;
    const char* many;
  } others[] = {{facts.flexible_polygons, "flexible polygon", "flexible polygons"},
                {facts.lights, "light", "lights"},
                {facts.lighting_models, "lighting model", "lighting models"},
                {facts.muscles, "muscle", "muscles"}};
  for (const auto& other : others) {
    if (other.count > 0) os << ", " << Counted(other.count, other.one, other.many);
  }
  os << "\n";
  if (!facts.combine_vertex_normals) os << "  normals   flat\n";
  PrintBox("  box       ", facts.box, os);
  PrintSize(facts, scale_factor, os);
}

void PrintFbxSummary(const FbxFacts& facts, std::ostream& os) {
  os << "  fbx       version " << facts.version << ", " << facts.bytes << " bytes\n"
     << "  creator   " << Printable(facts.creator) << "\n"
     << "  created   " << Printable(facts.created) << "\n";
  for (const auto& [name, text] : facts.info) {
    os << "  " << Padded(name, 10) << Printable(text) << "\n";
  }
  os << "  pose      " << Counted(facts.pose_nodes, "node", "nodes") << "\n";
}

void PrintNodes(const FbxFacts& facts, std::ostream& os) {
  TextTable table;
  table.add({"node", "kind", "translation", "pre-rotation", "order"});
  for (const FbxNodeFacts& node : facts.nodes) {
    table.add({Indent(node.depth) + node.name, node.kind, Numbers(node.translation),
               Numbers(node.pre_rotation), node.rotation_order});
  }
  PrintTitle("Nodes", os);
  table.printOn(os);
}

// An FBX has its lengths in centimetres.
std::string SizeText(const Box& box) {
  return box.min ? Numbers(*box.max - *box.min) : std::string("-");
}

void PrintMeshes(const FbxFacts& facts, std::ostream& os) {
  TextTable table;
  table.add(
      {"mesh", "vertices", "polygons", "size in cm", "materials", "clusters", "weights", "shapes"});
  for (const FbxMeshFacts& mesh : facts.meshes) {
    std::string shapes;
    for (const std::string& shape : mesh.shapes) shapes += (shapes.empty() ? "" : ", ") + shape;
    table.add({mesh.name, std::to_string(mesh.vertices), std::to_string(mesh.polygons),
               SizeText(mesh.box), std::to_string(mesh.materials), std::to_string(mesh.clusters),
               std::to_string(mesh.weights), shapes});
  }
  PrintTitle("Meshes", os);
  table.printOn(os);
}

void PrintFbxMaterials(const FbxFacts& facts, std::ostream& os) {
  if (!facts.materials.empty()) PrintTitle("Materials", os);
  for (const FbxMaterialFacts& material : facts.materials) {
    os << "  " << Styled(Style::Plain, material.name) << "\n";
    for (const auto& [name, values] : material.properties) {
      os << "    " << Padded(name, 20) << Numbers(values) << "\n";
    }
  }
}

void PrintFbxPictures(const FbxFacts& facts, std::ostream& os) {
  if (!facts.textures.empty()) PrintTitle("Textures", os);
  for (const FbxTextureFacts& texture : facts.textures) {
    std::string uses;
    for (const std::string& use : texture.uses) uses += (uses.empty() ? " of " : ", ") + use;
    os << "  " << Printable(texture.file + uses) << "\n";
  }
  for (const FbxVideoFacts& video : facts.videos) {
    os << "  " << Printable(video.file) << ": " << video.embedded_bytes << " bytes embedded\n";
  }
}

std::string TransformText(const BaUnlockedTransform& transform) {
  if (!transform.isCombination()) {
    const int variable = transform.exists() ? transform.sysVarId() : 0;
    return variable == 0 ? "-" : "v" + std::to_string(variable);
  }
  std::string text = Short(static_cast<double>(transform.constant()));
  for (const BaUnlockedTransform::Term& term : transform.terms()) {
    text += " + " + Short(static_cast<double>(term.coefficient)) + " v" +
            std::to_string(term.sysvar_id);
  }
  return text;
}

}  // namespace

void PrintText(const ModelFacts& facts, bool tree_only, double scale_factor, std::ostream& os) {
  if (tree_only) {
    for (const BodyFacts& body : facts.bodies) {
      os << Indent(body.depth) << Styled(Style::Plain, body.name) << " (" << body.id << ")\n";
    }
    return;
  }
  PrintSummary(facts, scale_factor, os);
  if (!facts.bodies.empty()) PrintBodies(facts, os);
  if (!facts.materials.empty()) PrintMaterials(facts, os);
  if (!facts.slider_groups.empty()) PrintSliders(facts, os);
}

void PrintText(const FbxFacts& facts, bool tree_only, std::ostream& os) {
  if (tree_only) {
    for (const FbxNodeFacts& node : facts.nodes) {
      os << Indent(node.depth) << Styled(Style::Plain, node.name) << "\n";
    }
    return;
  }
  PrintFbxSummary(facts, os);
  if (!facts.nodes.empty()) PrintNodes(facts, os);
  if (!facts.meshes.empty()) PrintMeshes(facts, os);
  PrintFbxMaterials(facts, os);
  PrintFbxPictures(facts, os);
}

void PrintText(const BaUnlockedMapping& mapping, std::ostream& os) {
  os << "  mapping   " << Counted(mapping.bodyMaps().count(), "body", "bodies") << ", "
     << Counted(mapping.numSysVars(), "variable", "variables");
  if (mapping.highestSysVarUsed() > mapping.numSysVars()) {
    os << "; with those of textures and sliders " << mapping.highestSysVarUsed();
  }
  os << "\n";
  TextTable table;
  table.add({"body id", "rotates about", "tx", "ty", "tz", "rx", "ry", "rz"});
  for (const BaUnlockedBodyMap* map : mapping.bodyMaps()) {
    std::vector<std::string> row = {std::to_string(map->bodyId()), map->rotationLetters()};
    for (int id = 1; id <= kBaTransformCount; ++id) {
      const BaUnlockedTransform* transform = FindTransform(map->transforms(), id);
      row.push_back(transform == nullptr ? "missing" : TransformText(*transform));
    }
    table.add(std::move(row));
  }
  PrintTitle("Bodies", os);
  table.printOn(os);
  for (const auto& map : mapping.textureIndexMaps()) {
    os << "  texture of material " << map.material_id << ": v" << map.sysvar_id << "\n";
  }
  for (const auto& map : mapping.blendEffectMaps()) {
    for (const auto& slider : map.sliders) {
      os << "  slider " << Printable(map.slider_group.view()) << " / "
         << Printable(slider.name.view()) << ": v" << slider.sysvar_id << "\n";
    }
  }
}
