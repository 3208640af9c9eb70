#include "Ba/bamodelcombine.h"

#include <algorithm>
#include <sstream>

#include "Bt/btexcept.h"
#include "baeffectsedit.h"
#include "balegacytext.h"

namespace {

void PutText(std::ostream& os, const BtStr& text) { os << '\n' << text.length() << ' ' << text; }

// Texts that are equal for equal names and contents.
std::string ContentOf(const BaMaterial& material) {
  std::ostringstream os;
  PutText(os, material.name());
  os << ' ' << material.flag();
  for (const std::unique_ptr<Ba_MatAttr>& attribute : material.attributes()) {
    os << '\n' << static_cast<int>(attribute->kind());
    Ba_PutFloats(os, std::as_const(*attribute).values());
  }
  for (const BaTexture& texture : material.textures()) {
    PutText(os, texture.fileName());
    os << ' ' << static_cast<int>(texture.kind()) << ' ' << texture.unit();
    PutText(os, texture.sAttributes());
    PutText(os, texture.tAttributes());
  }
  return os.str();
}

std::string ContentOf(const BaMDSliderGroup& group) {
  std::ostringstream os;
  PutText(os, group.name());
  for (const BtStr& slider : group.sliders()) PutText(os, slider);
  return os.str();
}

// The id of another body of the model, whose own id was found to be in range. The world stays.
int Moved(int body_id, long long offset) {
  return body_id == 0 ? 0 : static_cast<int>(body_id + offset);
}

// A copy of a light or a lighting model with an id that none of `others` has.
template <class Object>
std::unique_ptr<Object> WithFreeId(const Object& object,
                                   const BtList<std::unique_ptr<Object>>& others) {
  bool is_taken = false;
  int highest_id = 0;
  for (const std::unique_ptr<Object>& other : others) {
    is_taken = is_taken || other->id() == object.id();
    highest_id = std::max(highest_id, other->id());
  }
  auto copy = std::make_unique<Object>(object);
  if (is_taken) copy->setId(highest_id + 1);
  return copy;
}

}  // namespace

BaModelCombine::BaModelCombine(BaModel* model) : _model(model) {
  BtAssert(_model->isLoading(), "_model->isLoading()");
  for (const std::unique_ptr<BaBody>& body : _model->bodies()) {
    if (body != nullptr && body->id() != 0) _body_names.insert(body->name());
  }
  for (const std::unique_ptr<BaMaterial>& material : _model->materials()) {
    _materials.emplace(ContentOf(*material), material->name());
    _last_material_id = std::max(_last_material_id, material->id());
  }
  for (const std::unique_ptr<BaMDSliderGroup>& group : _model->sliderGroups()) {
    _slider_groups.emplace(ContentOf(*group), group->name());
  }
}

template <class IsTaken>
BtStr BaModelCombine::_freeName(const BtStr& name, IsTaken is_taken) {
  if (!is_taken(name)) return name;
  int& number = _last_numbers.try_emplace(name, 1).first->second;
  BtStr free_name;
  do {
    free_name = BtFormat("%s_%d", static_cast<const char*>(name), ++number);
  } while (is_taken(free_name));
  return free_name;
}

bool BaModelCombine::_addBody(const BaBody& body, long long body_id_offset,
                              const BtStr& body_name_suffix) {
  const long long id = body.id() + body_id_offset;
  const BtStr name = BtStr(body.name().view()) + body_name_suffix;
  if (id < 1 || id > BaModel::kMaxBodyId)
    return BtFail(BtCode("body-id-range"), "Invalid body id %lld.", id);
  if (_model->findBody(static_cast<int>(id)) != nullptr) {
    return BtFail(BtCode("body-id-duplicate"), "Multiple bodies have id %lld.", id);
  }
  if (!_body_names.insert(name).second) {
    return BtFail(BtCode("body-name-clash"), "Multiple bodies have name \"" + name + "\".");
  }
  auto copy = std::make_unique<BaBody>();
  copy->setName(name);
  copy->setId(static_cast<int>(id));
  copy->setParentId(Moved(body.parentId(), body_id_offset));
  copy->setTransform(body.transform());
  copy->setPostScaleFactor(body.postScaleFactor());
  _model->load(std::move(copy));
  return true;
}

void BaModelCombine::_addMaterial(const BaMaterial& material, Names* names) {
  BtStr& name = _materials[ContentOf(material)];
  if (name.isNull()) {
    name = _freeName(material.name(), [this](const BtStr& candidate) {
      return _model->materialByName(candidate) != nullptr;
    });
    auto copy = std::make_unique<BaMaterial>(material);
    copy->setName(name);
    copy->setId(++_last_material_id);
    _model->load(std::move(copy));
  }
  names->material_ids.emplace(material.id(), _model->materialByName(name)->id());
}

void BaModelCombine::_addSliderGroup(const BaMDSliderGroup& group, Names* names) {
  BtStr& name = _slider_groups[ContentOf(group)];
  if (name.isNull()) {
    name = _freeName(group.name(), [this](const BtStr& candidate) {
      return _model->findSliderGroup(candidate) != nullptr;
    });
    auto copy = std::make_unique<BaMDSliderGroup>(group);
    copy->setName(name);
    _model->load(std::move(copy));
  }
  names->slider_groups.try_emplace(group.name(), name);
}

void BaModelCombine::_addMuscle(const BaMuscle& muscle, const Names& names) {
  auto copy = std::make_unique<BaMuscle>(muscle);
  const auto material_id = names.material_ids.find(muscle.materialId());
  if (material_id != names.material_ids.end()) copy->setMaterialId(material_id->second);
  for (int& id : copy->bodyIds()) id = Moved(id, names.body_id_offset);
  _model->load(std::move(copy));
}

template <class Element>
std::unique_ptr<Element> BaModelCombine::_copy(const Element& element, const Names& names) const {
  auto copy = std::make_unique<Element>(element);
  copy->setBodyId(Moved(element.bodyId(), names.body_id_offset));
  copy->setMaterialId(names.material_ids.at(element.materialId()));
  return copy;
}

void BaModelCombine::_renameTargets(const Names& names, BaVertexEffects* effects) {
  for (auto* effect = effects->first(); effect != nullptr; effect = effect->next()) {
    if (effect->type() == BaFlex2Effect) {
      int& body_id = static_cast<BaVertexFlex2Effect*>(effect)->body_id;
      body_id = Moved(body_id, names.body_id_offset);
    } else if (effect->type() == BaBlendEffect) {
      BtStr& group = static_cast<BaVertexBlendEffect*>(effect)->slider_group;
      const auto new_name = names.slider_groups.find(group);
      if (new_name != names.slider_groups.end()) group = new_name->second;
    }
  }
}

template <class Element, class Edit>
std::unique_ptr<Element> BaModelCombine::_copy(const Element& element, const Names& names,
                                               Edit& edit) const {
  std::unique_ptr<Element> copy = _copy(element, names);
  for (BaVertex& vertex : copy->vertices()) {
    if (!vertex.effects().empty()) edit(vertex.effects(), copy->bodyId());
  }
  return copy;
}

bool BaModelCombine::add(const BaModel& source, long long body_id_offset,
                         const BtStr& body_name_suffix) {
  BtAssert(!body_name_suffix.isNull(), "!body_name_suffix.isNull()");
  Names names;
  names.body_id_offset = body_id_offset;
  for (const std::unique_ptr<BaBody>& body : source.bodies()) {
    if (body == nullptr || body->id() == 0) continue;
    if (!_addBody(*body, body_id_offset, body_name_suffix)) return false;
  }
  for (const std::unique_ptr<BaMaterial>& material : source.materials()) {
    _addMaterial(*material, &names);
  }
  for (const std::unique_ptr<BaMDSliderGroup>& group : source.sliderGroups()) {
    _addSliderGroup(*group, &names);
  }
  _addElements(source, names);
  for (const auto& muscle : source.muscles()) _addMuscle(*muscle, names);
  for (const auto& light : source.lights()) {
    _model->load(WithFreeId(*light, _model->lights()));
  }
  for (const auto& lighting_model : source.lightingModels()) {
    _model->load(WithFreeId(*lighting_model, _model->lightingModels()));
  }
  return true;
}

void BaModelCombine::_addElements(const BaModel& source, const Names& names) {
  // A vertex of the source and its copy share their effects at first.
  constexpr int kOwners = 2;
  Ba_EffectsEdit edit([&names](BaVertexEffects& effects, int) { _renameTargets(names, &effects); },
                      kOwners);
  const auto add_each = [&](const auto& elements) {
    for (const auto& element : elements) _model->load(_copy(*element, names, edit));
  };
  for (const auto& bone : source.bones()) _model->load(_copy(*bone, names));
  add_each(source.polygons());
  add_each(source.texturedPolygons());
  add_each(source.tMeshes());
  add_each(source.texturedTMeshes());
  for (const auto& polygon : source.flexiblePolygons()) {
    std::unique_ptr<BaFlexiblePolygon> copy = _copy(*polygon, names, edit);
    copy->setOtherBodyId(Moved(polygon->otherBodyId(), names.body_id_offset));
    _model->load(std::move(copy));
  }
}
