#include "Ba/bavertex.h"

#include <ostream>
#include <utility>

#include "Bt/btexcept.h"
#include "balegacytext.h"
#include "btclassicios.h"

namespace {

// The number that ends the effects of a vertex.
constexpr int kNoMoreEffects = -1;

// What is recorded above the error of an effect, by its number.
constexpr const char* kFailures[] = {"Unable to read bulge effect.", "Unable to read morph effect.",
                                     "Unable to read flex effect.", "Unable to read flex2 effect."};

std::unique_ptr<Ba_VertexEffect> ScanEffect(BtScanner& in, int type) {
  std::unique_ptr<Ba_VertexEffect> effect = Ba_VertexEffect::create(type);
  if (effect == nullptr) {
    theExceptObj.set("Unknown vertex effect type - %d.", type);
  } else if (!effect->scanFrom(in)) {
    BtFail("%s", kFailures[type]);
    effect.reset();
  }
  return effect;
}

[[gnu::noinline]] bool ScanEffects(BtScanner& in, BaVertexEffects* effects) {
  int type = kNoMoreEffects;
  if (!in.readInt(&type)) return BtFail("Unable to read effect type.");
  BaVertexEffectsBuilder builder(effects);
  while (type != kNoMoreEffects) {
    std::unique_ptr<Ba_VertexEffect> effect = ScanEffect(in, type);
    if (effect == nullptr) return false;
    builder.add(std::move(effect));
    if (!in.readInt(&type)) return BtFail("Unable to read effect type.");
  }
  return true;
}

}  // namespace

bool BaVertex::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool BaVertex::scanFrom(BtScanner& in) {
  return in.readFloats(_position, 3) ? scanEffectsFrom(in) : BtFail("Unable to read x,y and z.");
}

bool BaVertex::scanEffectsFrom(BtScanner& in) {
  if (!_effects.empty()) _effects.clear();
  // Nearly all vertices have none.
  return in.skipLineEnd(" -1") || ScanEffects(in, &_effects);
}

void BaVertex::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  Ba_PutFloats(os, _position);
  for (auto* effect = _effects.first(); effect != nullptr; effect = effect->next()) {
    effect->printOn(os);
  }
  Ba_PutInt(os, kNoMoreEffects);
}
