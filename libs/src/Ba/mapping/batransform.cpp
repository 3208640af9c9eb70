#include "Ba/batransform.h"
#include "btclassicios.h"

#include <algorithm>
#include <ostream>

namespace {

struct AxisAndKind {
  BtAxis_t axis;
  int kind;
};

// Indexed by transform id minus 1.
constexpr AxisAndKind kTransforms[kBaTransformCount] = {
    {BtAxis_t::X, kBaTranslationKind}, {BtAxis_t::Y, kBaTranslationKind},
    {BtAxis_t::Z, kBaTranslationKind}, {BtAxis_t::X, kBaRotationKind},
    {BtAxis_t::Y, kBaRotationKind},    {BtAxis_t::Z, kBaRotationKind}};

constexpr const char* kAxisNames[] = {"XAxis", "YAxis", "ZAxis"};

const AxisAndKind& TransformOf(int id) {
  BtAssert(id >= 1 && id <= kBaTransformCount, "id>=1 && id<=6");
  return kTransforms[id - 1];
}

// The type of a transform id when it is driven by one variable; one more for a combination.
int SingleType(int id) {
  return TransformOf(id).kind == kBaRotationKind ? Ba_Transform::Rotation
                                                 : Ba_Transform::Translation;
}

}  // namespace

std::ostream& operator<<(std::ostream& os, BtAxis_t axis) {
  const BtClassicIos plain(os);
  return os << kAxisNames[static_cast<int>(axis)];
}

void GetTransformIdAxisType(int id, BtAxis_t* axis, int* type) {
  *axis = TransformOf(id).axis;
  *type = TransformOf(id).kind;
}

Ba_Transform::Ba_Transform(int type, BtAxis_t axis)
    : _type(static_cast<std::uint8_t>(type)), _axis(axis) {
  BtAssert(type >= Translation && type <= CombRotation, "type>=0 && type<=3");
}

BaUnlockedTransform::BaUnlockedTransform(int id, int sysvar_id)
    : Ba_Transform(SingleType(id), TransformOf(id).axis), _sysvar_id(sysvar_id) {
  BtAssert(sysvar_id >= 0, "sysvar_id>=0");
}

BaUnlockedTransform::BaUnlockedTransform(int id, float constant, BtDArray<Term> terms)
    : Ba_Transform(SingleType(id) + 1, TransformOf(id).axis),
      _sysvar_id(0),
      _combination({constant, std::move(terms)}) {
  for (const Term& term : this->terms()) BtAssert(term.sysvar_id >= 1, "sysvar_id>=1");
}

int BaUnlockedTransform::sysVarId() const {
  BtAssert(exists() && !isCombination(), "exists() && !isCombination()");
  return _sysvar_id;
}

bool BaUnlockedTransform::usesSysVarId(int var_id) const {
  if (!isCombination()) return _sysvar_id == var_id;
  return std::any_of(terms().begin(), terms().end(),
                     [var_id](const Term& term) { return term.sysvar_id == var_id; });
}

double BaUnlockedTransform::factor(int var_id) const {
  if (!isCombination()) return _sysvar_id == var_id ? 1 : 0;
  double sum = 0;
  for (const Term& term : terms()) {
    if (term.sysvar_id == var_id) sum += static_cast<double>(term.coefficient);
  }
  return sum;
}

int TransformSysVarId(const BaUnlockedTransform& transform) { return transform.sysVarId(); }

std::unique_ptr<BaUnlockedTransform> TransformDup(const BaUnlockedTransform& transform) {
  return std::make_unique<BaUnlockedTransform>(transform);
}

std::unique_ptr<BaUnlockedTransform> CreateTransform(int id, int sysvar_id) {
  return std::make_unique<BaUnlockedTransform>(id, sysvar_id);
}

std::unique_ptr<BaUnlockedTransform> CreateTransform(int id, float constant,
                                                     const BtDArray<int>& ids,
                                                     const BtDArray<float>& coefficients) {
  BtAssert(ids.size() == coefficients.size(), "ids.size()==coefficients.size()");
  BtDArray<BaUnlockedTransform::Term> terms(ids.size());
  for (int i = 0; i < ids.size(); ++i) terms[i] = {ids[i], coefficients[i]};
  return std::make_unique<BaUnlockedTransform>(id, constant, std::move(terms));
}

const BaUnlockedTransform* FindTransform(const BaUnlockedTransformList& list, int id) {
  const auto* found = std::find_if(list.begin(), list.end(), [id](const auto& transform) {
    return transform.exists() && transform.id() == id;
  });
  return found == list.end() ? nullptr : found;
}

BaUnlockedTransform GetNonExistingTF(const BaUnlockedTransformList& list, int type) {
  const auto is_there = [&list, type](BtAxis_t axis) {
    return FindTransform(list, Ba_Transform(type, axis).id()) != nullptr;
  };
  BtAxis_t axis = BtAxis_t::X;
  while (axis != BtAxis_t::Z && is_there(axis)) {
    axis = static_cast<BtAxis_t>(static_cast<int>(axis) + 1);
  }
  BtAssert(!is_there(axis), "!tf->exists()");
  return {type, axis};
}

void InsertAfter(BaUnlockedTransformList* list, int type, const BaUnlockedTransform& transform) {
  bool inserted = false;
  for (int i = list->size() - 1; i >= 0 && !inserted; --i) {
    if ((*list)[i].type() != type) continue;
    list->insert(i + 1, transform);
    inserted = true;
  }
  BtAssert(inserted);
}
