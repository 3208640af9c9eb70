#include "modelfacts.h"

#include <algorithm>
#include <cmath>

#include "Ba/babodymap.h"
#include "Ba/bamapping.h"
#include "Ba/bamodeldatapolyset.h"
#include "Bt/btangles.h"
#include "Bt/btfile.h"
#include "Bt/bthash.h"
#include "bapicturefile.h"
#include "geometry.h"
#include "messages.h"
#include "picturefile.h"

namespace {

class ModelGatherer {
 public:
  ModelGatherer(const BaModel& model, const BaUnlockedMapping* mapping, ModelFacts* facts)
      : _model(model), _mapping(mapping), _facts(facts), _worlds(WorldTransformsOf(model)) {}

  void gather(const BtStr& directory);

 private:
  void _gatherSettings();
  void _gatherBody(const BaBody& body);
  void _gatherFaces(const BaBody& body, BodyFacts* facts);
  void _gatherVertices(const BaBody& body, BodyFacts* facts);
  void _gatherWeights(const BaVertexEffects& effects, const BaBody& body, BodyFacts* facts);
  void _gatherMaterials(const BtStr& directory);
  void _gatherSliders();

  const BaModel& _model;
  const BaUnlockedMapping* _mapping;
  ModelFacts* _facts;
  WorldTransforms _worlds;
  BtHashMap<int, int> _depths;                                        // by body id
  BtHashMap<int, int> _material_faces;                                // by material id
  std::map<std::pair<std::string, std::string>, SliderFacts> _moves;  // by group and slider
};

Point RotationOf(const BaBody& body) {
  constexpr int kSequence[3] = {3, 2, 1};
  BtRotationAxes axes;
  if (!BtGetRotationAxes(&axes, BtCoordSystem(body.transform()).rotation())) return {};
  float angles[3] = {};
  BtGetDecomposedRotationMatrix(angles, kSequence, axes.matrix);
  Point degrees = {};
  for (std::size_t axis = 0; axis < degrees.size(); ++axis) {
    degrees[axis] = static_cast<double>(angles[axis] * kBtDegreesPerRadian);
  }
  return degrees;
}

TextureFacts TextureFactsOf(const BaTexture& texture, const BtStr& directory) {
  constexpr const char* kKinds[] = {"decal", "cube environment", "environment"};
  TextureFacts facts;
  facts.file = Text(texture.fileName());
  facts.kind = kKinds[texture.kind()];
  facts.unit = texture.unit();
  facts.s_attributes = Text(texture.sAttributes());
  facts.t_attributes = Text(texture.tAttributes());
  facts.path = Text(BaFindPicture(directory, texture.fileName()));
  const PictureFile picture = ReadPictureFile(facts.path);
  facts.bytes = picture.bytes;
  facts.format = picture.format;
  facts.width = picture.width;
  facts.height = picture.height;
  return facts;
}

UnitFacts UnitFactsOf(const BaUnits& units) {
  return {Text(units.name), static_cast<double>(units.factor)};
}

void ModelGatherer::gather(const BtStr& directory) {
  _gatherSettings();
  for (const BaBody* body : BodiesInOrder(_model)) _gatherBody(*body);
  _gatherMaterials(directory);
  _gatherSliders();
}

void ModelGatherer::_gatherSettings() {
  ModelFacts& facts = *_facts;
  facts.version = std::round(static_cast<double>(_model.version()) * 1e4) / 1e4;
  facts.dialect = facts.version >= 2 ? "document" : "legacy";
  if (facts.dialect == "document") {
    facts.length_unit = UnitFactsOf(_model.lengthUnits());
    facts.angle_unit = UnitFactsOf(_model.angleUnits());
  }
  facts.combine_vertex_normals = _model.combineVertexNormals();
  facts.bones = _model.bones().size();
  facts.flexible_polygons = _model.flexiblePolygons().size();
  facts.lights = _model.lights().count();
  facts.lighting_models = _model.lightingModels().count();
  facts.muscles = _model.muscles().count();
}

void ModelGatherer::_gatherBody(const BaBody& body) {
  BodyFacts facts;
  facts.id = body.id();
  facts.name = Text(body.name());
  facts.parent_id = body.parentId();
  facts.depth = body.parentId() == 0 ? 0 : _depths[body.parentId()] + 1;
  _depths[body.id()] = facts.depth;
  const Bt4X4DoubleMat& world = _worlds[body.id()];
  for (int c = 0; c < 3; ++c) {
    facts.position[static_cast<std::size_t>(c)] = static_cast<double>(body.transform()(3, c));
    facts.world_position[static_cast<std::size_t>(c)] = world(3, c);
  }
  facts.rotation = RotationOf(body);
  facts.bones = body.bones().size();
  const BaUnlockedBodyMap* map = _mapping == nullptr ? nullptr : _mapping->bodyMap(body.id());
  if (_mapping != nullptr) facts.mapped = map != nullptr;
  if (map != nullptr) {
    facts.rotation_order = map->rotationLetters();
    facts.fbx_rotation_order.assign(facts.rotation_order.rbegin(), facts.rotation_order.rend());
  }
  _gatherFaces(body, &facts);
  _gatherVertices(body, &facts);
  _facts->polygons += facts.polygons;
  _facts->corners += facts.corners;
  _facts->vertices += facts.vertices;
  _facts->box.add(facts.box);
  _facts->bodies.push_back(std::move(facts));
}

void ModelGatherer::_gatherFaces(const BaBody& body, BodyFacts* facts) {
  ForEachFace(body, [&](const BaVertexElement& element, const std::vector<int>& corners) {
    ++facts->polygons;
    facts->corners += static_cast<int>(corners.size());
    ++_material_faces[element.materialId()];
  });
}

// Vertices are counted as a conversion does: corners at one place are one.
void ModelGatherer::_gatherVertices(const BaBody& body, BodyFacts* facts) {
  const BaModelData_PolySet set(&body);
  const Bt4X4DoubleMat& world = _worlds[body.id()];
  for (const BaMDPoint& p : set.vertices()) {
    facts->box.add(BtTransformPoint(
        {static_cast<double>(p.x), static_cast<double>(p.y), static_cast<double>(p.z)}, world));
  }
  facts->vertices = static_cast<int>(set.vertices().size());
  if (facts->vertices == 0) return;
  const std::size_t n_effects = set.effects().size();
  WeightFacts& own = facts->weights[body.id()];
  own.vertices = facts->vertices - static_cast<int>(n_effects);
  own.sum = own.vertices;
  for (const auto& vertex : set.effects()) _gatherWeights(*vertex.effects, body, facts);
}

void ModelGatherer::_gatherWeights(const BaVertexEffects& effects, const BaBody& body,
                                   BodyFacts* facts) {
  double rest = 1;
  for (auto* effect = effects.first(); effect != nullptr; effect = effect->next()) {
    double weight = 0;
    int target = body.parentId();
    if (effect->type() == BaFlexEffect) {
      weight = static_cast<double>(static_cast<const BaVertexFlexEffect*>(effect)->weight);
    } else if (effect->type() == BaFlex2Effect) {
      const auto& flex2 = static_cast<const BaVertexFlex2Effect&>(*effect);
      weight = static_cast<double>(flex2.weight);
      target = flex2.body_id;
    } else if (effect->type() == BaBlendEffect) {
      const auto& blend = static_cast<const BaVertexBlendEffect&>(*effect);
      SliderFacts& move = _moves[{Text(blend.slider_group), Text(blend.slider_name)}];
      const auto& [x, y, z] = blend.offset;
      ++move.vertices;
      move.largest_move = std::max(
          move.largest_move,
          std::hypot(static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)));
      continue;
    } else {
      continue;
    }
    rest -= weight;
    WeightFacts& followed = facts->weights[target];
    ++followed.vertices;
    followed.sum += weight;
  }
  if (rest <= 0) return;
  WeightFacts& own = facts->weights[body.id()];
  ++own.vertices;
  own.sum += rest;
}

void ModelGatherer::_gatherMaterials(const BtStr& directory) {
  BtHashMap<int, int> bones;
  for (const auto& bone : _model.bones()) ++bones[bone->materialId()];
  for (const auto& material : _model.materials()) {
    MaterialFacts facts;
    facts.id = material->id();
    facts.name = Text(material->name());
    facts.polygons = _material_faces[facts.id];
    facts.bones = bones[facts.id];
    for (const auto& attribute : material->attributes()) {
      const auto values = std::as_const(*attribute).values();
      facts.attributes.emplace_back(Ba_InfoOf(attribute->kind()).name,
                                    std::vector<double>(values.begin(), values.end()));
    }
    for (const BaTexture& texture : material->textures()) {
      if (!texture.fileName().isNull()) {
        facts.textures.push_back(TextureFactsOf(texture, directory));
      }
    }
    _facts->materials.push_back(std::move(facts));
  }
}

void ModelGatherer::_gatherSliders() {
  for (const auto& group : _model.sliderGroups()) {
    SliderGroupFacts facts;
    facts.name = Text(group->name());
    for (const BtStr& slider : group->sliders()) {
      SliderFacts slider_facts = _moves[{facts.name, Text(slider)}];
      slider_facts.name = Text(slider);
      facts.sliders.push_back(slider_facts);
    }
    _facts->slider_groups.push_back(std::move(facts));
  }
}

}  // namespace

ModelFacts GatherModelFacts(const std::string& file, const BaModel& model,
                            const BaUnlockedMapping* mapping) {
  ModelFacts facts;
  facts.file = file;
  ModelGatherer(model, mapping, &facts).gather(BtFileDirectory(file.c_str()));
  return facts;
}
