#include "Ba/bavertexeffect.h"

#include <algorithm>
#include <limits>
#include <ostream>

#include "Bt/btassert.h"
#include "balegacytext.h"
#include "btclassicios.h"

namespace {

using EffectPtr = std::unique_ptr<Ba_VertexEffect>;

template <class Effect>
EffectPtr CreateEffect() {
  return std::make_unique<Effect>();
}

// Indexed by legacy number.
constexpr EffectPtr (*kEffectCreators[])() = {
    CreateEffect<BaVertexBulgeEffect>, CreateEffect<BaVertexMorphL1V2Effect>,
    CreateEffect<BaVertexFlexEffect>, CreateEffect<BaVertexFlex2Effect>};

// Weights stay finite, whatever is added to them.
float AddWeights(float a, float b) {
  constexpr double kMax = std::numeric_limits<float>::max();
  const double sum = static_cast<double>(a) + static_cast<double>(b);
  return static_cast<float>(std::clamp(sum, -kMax, kMax));
}

// Reads the numbers of one effect into consecutive members.
template <std::size_t N>
bool ScanFloats(BtScanner& in, float* const (&values)[N]) {
  return std::all_of(values, values + N, [&in](float* value) { return in.readFloat(value); });
}

}  // namespace

Ba_VertexEffect::~Ba_VertexEffect() {
  // One by one: a chain may be long, and destroying it as a whole would recurse along it.
  while (_next != nullptr) _next = std::move(_next->_next);
}

bool Ba_VertexEffect::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

EffectPtr Ba_VertexEffect::create(int type) {
  if (type < 0 || type >= static_cast<int>(std::size(kEffectCreators))) return nullptr;
  return kEffectCreators[type]();
}

bool Ba_VertexEffect::_absorb(const Ba_VertexEffect& /*other*/) { return false; }

bool BaVertexBulgeEffect::scanFrom(BtScanner& in) {
  if (!in.readFloats(bo.data(), 3)) {
    return BtFail("Unable to read bo x,y,z coords for bulge effect.");
  }
  if (!in.readFloats(bc.data(), 3)) {
    return BtFail("Unable to read bc x,y,z coords for bulge effect.");
  }
  if (!ScanFloats(in, {&br, &vn, &fv})) {
    return BtFail("Unable to read br, vn and fv for bulge effect.");
  }
  return true;
}

void BaVertexBulgeEffect::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  Ba_PutInt(os, type());
  Ba_PutFloats(os, bo);
  Ba_PutFloats(os, bc);
  Ba_PutFloats(os, std::array{br, vn, fv});
}

EffectPtr BaVertexBulgeEffect::cloneBa() const {
  return std::make_unique<BaVertexBulgeEffect>(*this);
}

bool BaVertexMorphL1V2Effect::scanFrom(BtScanner& in) {
  if (!in.readFloats(op.data(), 3)) {
    return BtFail("Unable to read op x,y,z coords for morph effect.");
  }
  if (!ScanFloats(in, {&vn, &lv, &uv})) {
    return BtFail("Unable to read vn, lv and uv for morph effect.");
  }
  return true;
}

void BaVertexMorphL1V2Effect::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  Ba_PutInt(os, type());
  Ba_PutFloats(os, op);
  Ba_PutFloats(os, std::array{vn, lv, uv});
}

EffectPtr BaVertexMorphL1V2Effect::cloneBa() const {
  return std::make_unique<BaVertexMorphL1V2Effect>(*this);
}

bool BaVertexFlexEffect::scanFrom(BtScanner& in) {
  // The text names the morph effect; people and scripts know it so.
  if (!in.readFloat(&weight)) return BtFail("Unable to read weight for morph effect.");
  return true;
}

void BaVertexFlexEffect::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  Ba_PutInt(os, type());
  Ba_PutFloats(os, {&weight, 1});
}

EffectPtr BaVertexFlexEffect::cloneBa() const {
  return std::make_unique<BaVertexFlexEffect>(*this);
}

bool BaVertexFlexEffect::_absorb(const Ba_VertexEffect& other) {
  if (other.type() != BaFlexEffect) return false;
  weight = AddWeights(weight, static_cast<const BaVertexFlexEffect&>(other).weight);
  return true;
}

bool BaVertexFlex2Effect::scanFrom(BtScanner& in) {
  if (!in.readFloat(&weight)) return BtFail("Unable to read weight for flex2 effect.");
  if (!in.readInt(&body_id)) return BtFail("Unable to read body ID for flex2 effect.");
  return true;
}

void BaVertexFlex2Effect::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  Ba_PutInt(os, type());
  Ba_PutFloats(os, {&weight, 1});
  Ba_PutInt(os, body_id);
}

EffectPtr BaVertexFlex2Effect::cloneBa() const {
  return std::make_unique<BaVertexFlex2Effect>(*this);
}

bool BaVertexFlex2Effect::_absorb(const Ba_VertexEffect& other) {
  if (other.type() != BaFlex2Effect) return false;
  const auto& flex2 = static_cast<const BaVertexFlex2Effect&>(other);
  if (flex2.body_id != body_id) return false;
  weight = AddWeights(weight, flex2.weight);
  return true;
}

bool BaVertexBlendEffect::scanFrom(BtScanner& /*in*/) {
  return BtFail("A blend effect cannot be read from a legacy file.");
}

void BaVertexBlendEffect::printOn(std::ostream& /*os*/) const {}

EffectPtr BaVertexBlendEffect::cloneBa() const {
  return std::make_unique<BaVertexBlendEffect>(*this);
}
