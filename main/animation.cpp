#include "animation.h"

#include <cmath>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Ba/bamapping.h"
#include "Ba/bamdbody.h"
#include "Ba/bamodeldata.h"
#include "Ba/bamotion.h"
#include "Bt/btexcept.h"
#include "Fbx/kfbxanimstack.h"
#include "Fbx/kfbxdeformer.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxscene.h"
#include "btfloattext.h"

namespace {

constexpr const char* kTransformNames[] = {"xTranslation", "yTranslation", "zTranslation",
                                           "xRotation",    "yRotation",    "zRotation"};
constexpr int kAxes = 3;
constexpr double kFullPercent = 100;

// Calls visit(body, node) for every body of the model.
template <class Visit>
void ForEachBody(KFbxScene* scene, const BaModelData& model_data, Visit visit) {
  for (const BaMDBody* body : model_data.bodies()) {
    KFbxNode* node = scene->FindNodeByName(body->name());
    if (node != nullptr) visit(*body, node);
  }
}

bool IsDriven(const BaUnlockedTransform& transform) {
  if (!transform.exists()) return false;
  return transform.isCombination() ? transform.constant() != 0 || !transform.terms().empty()
                                   : transform.sysVarId() > 0;
}

bool DrivesAny(const BaUnlockedBodyMap& map, bool rotations) {
  for (const BaUnlockedTransform& transform : map.transforms()) {
    if (transform.isRotation() == rotations && IsDriven(transform)) return true;
  }
  return false;
}

// Whether the moved origin is just the three translations: no rotation comes before one of them,
// and none is listed twice.
bool MovesPlainly(const BaUnlockedBodyMap& map) {
  bool turned = false;
  std::set<int> moved;
  for (const BaUnlockedTransform& transform : map.transforms()) {
    if (!IsDriven(transform)) continue;
    if (!transform.isRotation() && (turned || !moved.insert(transform.id()).second)) return false;
    turned = turned || transform.isRotation();
  }
  return true;
}

// Fills the curves of one take.
class TakeFiller {
 public:
  TakeFiller(KFbxAnimStack* take, const BaMotion& motion, const BaVariableUnits& units,
             float scale_factor)
      : _take(take),
        _motion(motion),
        _units(units),
        _scale_factor(static_cast<double>(scale_factor)),
        _count(motion.times().size()) {
    auto times = std::make_shared<std::vector<KTime>>();
    times->reserve(_count);
    for (const double seconds : motion.times()) times->push_back(KTimeOfSeconds(seconds));
    take->LocalStart.Set(times->front());
    take->LocalStop.Set(times->back());
    _times = std::move(times);
  }

  void addBody(const BaUnlockedBodyMap& map, KFbxNode* node) {
    const bool turns = DrivesAny(map, true);
    const bool moves = DrivesAny(map, false);
    if (!turns && !moves) return;
    for (int id = 1; id <= kBaTransformCount; ++id) {
      _values[_at(id)].clear();
      const BaUnlockedTransform* transform = FindTransform(map.transforms(), id);
      if (transform != nullptr && transform->exists()) {
        _motion.getValues(*transform, &_values[_at(id)]);
      } else {
        _values[_at(id)].assign(_count, 0);
      }
    }
    if (turns) _addRotation(node);
    if (moves) _addTranslation(map, node);
  }

  // A slider's value of 1 is the whole shape.
  void addSlider(int sysvar_id, KFbxBlendShapeChannel* channel) {
    std::vector<float> percents(_count, 0.0F);
    const std::span<const float> shares = _motion.values(sysvar_id);
    for (std::size_t i = 0; i < shares.size(); ++i) {
      percents[i] = static_cast<float>(kFullPercent * static_cast<double>(shares[i]));
    }
    _take->GetCurveNode(channel)->GetCurve(0)->SetKeys(_times, std::move(percents));
  }

 private:
  static std::size_t _at(int transform_id) { return static_cast<std::size_t>(transform_id) - 1; }

  // The rest rotation is the node's pre-rotation and the order of the rotations is its own, so the
  // angles are those of the motion, however far they turn.
  void _addRotation(KFbxNode* node) {
    const double degrees = _units.angle / BaVariableUnits::kRadiansPerDegree;
    KFbxAnimCurveNode* curves = _take->GetCurveNode(node, KFbxAnimCurveNode::eROTATION);
    for (int axis = 0; axis < kAxes; ++axis) {
      std::vector<float> angles(_count);
      const std::vector<double>& values = _values[_at(axis + kBaFirstRotationId)];
      for (std::size_t i = 0; i < _count; ++i) angles[i] = static_cast<float>(degrees * values[i]);
      curves->GetCurve(axis)->SetKeys(_times, std::move(angles));
    }
  }

  // The origin of the rest transform times the map's matrix.
  void _addTranslation(const BaUnlockedBodyMap& map, KFbxNode* node) {
    const KFbxXMatrix rest = KFbxXMatrix::Rotation(node->GetPreRotation(KFbxNode::eSOURCE_SET));
    const KFbxVector4 origin = node->LclTranslation.Get();
    const bool plain = MovesPlainly(map);
    std::vector<float> places[kAxes];
    for (std::vector<float>& place : places) place.resize(_count);
    for (std::size_t i = 0; i < _count; ++i) {
      const KFbxVector4 moved = rest.MultR(plain ? _plainOrigin(i) : _turnedOrigin(map, i));
      for (int axis = 0; axis < kAxes; ++axis) {
        places[axis][i] = static_cast<float>(origin[axis] + _scale_factor * moved[axis]);
      }
    }
    KFbxAnimCurveNode* curves = _take->GetCurveNode(node, KFbxAnimCurveNode::eTRANSLATION);
    for (int axis = 0; axis < kAxes; ++axis) {
      curves->GetCurve(axis)->SetKeys(_times, std::move(places[axis]));
    }
  }

  [[nodiscard]] KFbxVector4 _plainOrigin(std::size_t frame) const {
    return {_units.length * _values[0][frame], _units.length * _values[1][frame],
            _units.length * _values[2][frame]};
  }

  [[nodiscard]] KFbxVector4 _turnedOrigin(const BaUnlockedBodyMap& map, std::size_t frame) const {
    BaBodyPose pose;
    for (int id = 1; id <= kBaTransformCount; ++id) pose[id] = _values[_at(id)][frame];
    const Bt4X4DoubleMat matrix = map.matrix(pose, _units);
    return {matrix(3, 0), matrix(3, 1), matrix(3, 2)};
  }

  KFbxAnimStack* _take;
  const BaMotion& _motion;
  BaVariableUnits _units;
  double _scale_factor;
  std::size_t _count;
  KFbxKeyTimes _times;
  std::vector<double> _values[kBaTransformCount];  // of the body at hand, by transform
};

// The channels of the scene's meshes by the names of slider group and slider.
using Channels = std::multimap<std::pair<std::string, std::string>, KFbxBlendShapeChannel*>;

void AddChannels(const KFbxMesh& mesh, Channels* channels) {
  for (int i = 0; i < mesh.GetDeformerCount(); ++i) {
    KFbxDeformer* deformer = mesh.GetDeformer(i);
    if (deformer->GetDeformerType() != KFbxDeformer::eBLEND_SHAPE) continue;
    const auto& shapes = static_cast<const KFbxBlendShape&>(*deformer);
    for (int k = 0; k < shapes.GetBlendShapeChannelCount(); ++k) {
      KFbxBlendShapeChannel* channel = shapes.GetBlendShapeChannel(k);
      channels->emplace(std::pair(shapes.GetName(), channel->GetName()), channel);
    }
  }
}

Channels FindChannels(KFbxScene* scene) {
  Channels channels;
  std::vector<const KFbxNode*> waiting = {scene->GetRootNode()};
  while (!waiting.empty()) {
    const KFbxNode* node = waiting.back();
    waiting.pop_back();
    if (const KFbxMesh* mesh = node->GetMesh()) AddChannels(*mesh, &channels);
    for (int i = node->GetChildCount() - 1; i >= 0; --i) waiting.push_back(node->GetChild(i));
  }
  return channels;
}

void AddSliders(KFbxScene* scene, const BaUnlockedMapping& mapping, TakeFiller* filler) {
  if (mapping.blendEffectMaps().empty()) return;
  const Channels channels = FindChannels(scene);
  for (const BaUnlockedMapping::BlendEffectMap& map : mapping.blendEffectMaps()) {
    for (const BaUnlockedMapping::BlendEffectMap::Slider& slider : map.sliders) {
      const auto [first, last] = channels.equal_range(
          {std::string(map.slider_group.view()), std::string(slider.name.view())});
      if (slider.sysvar_id == 0) continue;
      for (auto i = first; i != last; ++i) filler->addSlider(slider.sysvar_id, i->second);
    }
  }
}

std::string FactorText(float factor) {
  char text[16];
  return {text, BtFloatToChars(text, text + sizeof text, factor).ptr};
}

// Adds a summand to a sum, as people write it.
void AddSummand(float factor, const std::string& variable, std::string* sum) {
  const std::string size = FactorText(std::fabs(factor));
  const bool is_less = std::signbit(factor);
  if (sum->empty()) {
    *sum = is_less ? "-" : "";
  } else {
    *sum += is_less ? " - " : " + ";
  }
  *sum += variable.empty() ? size : size == "1" ? variable : size + " * " + variable;
}

// What drives a transform.
std::string DriverText(const BaUnlockedTransform& transform) {
  if (!transform.isCombination()) return "v" + std::to_string(transform.sysVarId());
  std::string sum;
  for (const BaUnlockedTransform::Term& term : transform.terms()) {
    AddSummand(term.coefficient, "v" + std::to_string(term.sysvar_id), &sum);
  }
  if (transform.constant() != 0) AddSummand(transform.constant(), "", &sum);
  return sum;
}

}  // namespace

bool AddTake(KFbxScene* scene, const BaModelData& model_data, const BaUnlockedMapping& mapping,
             const BaMotion& motion, const BtStr& name, const BaVariableUnits& units,
             float scale_factor) {
  if (scene->GetAnimStackCount() == 0) scene->SetFrameRate(KFbxFrameRate(motion.rate()));
  KFbxAnimStack* take = KFbxAnimStack::Create(scene, name);
  TakeFiller filler(take, motion, units, scale_factor);
  ForEachBody(scene, model_data, [&](const BaMDBody& body, KFbxNode* node) {
    const BaUnlockedBodyMap* map = mapping.bodyMap(body.id());
    if (map != nullptr && !theExceptObj.cancelAsked()) filler.addBody(*map, node);
  });
  if (theExceptObj.checkCancel()) return false;
  AddSliders(scene, mapping, &filler);
  scene->AddAnimStack(take);
  return true;
}

void AddUserProperties(KFbxScene* scene, const BaModelData& model_data,
                       const BaUnlockedMapping& mapping) {
  ForEachBody(scene, model_data, [&mapping](const BaMDBody& body, KFbxNode* node) {
    node->SetUserProperty("bodyId", body.id());
    const BaUnlockedBodyMap* map = mapping.bodyMap(body.id());
    if (map == nullptr) return;
    std::string order;
    for (const BaUnlockedTransform& transform : map->transforms()) {
      order += (order.empty() ? "" : " ") + std::string(kTransformNames[transform.id() - 1]);
    }
    node->SetUserProperty("transforms", BtStr(order.c_str()));
    for (const BaUnlockedTransform& transform : map->transforms()) {
      if (!IsDriven(transform)) continue;
      node->SetUserProperty(kTransformNames[transform.id() - 1],
                            BtStr(DriverText(transform).c_str()));
    }
  });
}
