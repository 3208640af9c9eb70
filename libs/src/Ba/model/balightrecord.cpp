#include "Ba/balightrecord.h"

#include <algorithm>
#include <ostream>

#include "Bt/btexcept.h"
#include "balegacytext.h"
#include "btclassicios.h"

namespace {

constexpr int kNoMoreLightAttributes = 0;
constexpr float kMaxSpotExponent = 128.0F;

}  // namespace

bool Ba_LightRecord::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool Ba_LightRecord::scanFrom(BtScanner& in) {
  if (!in.readInt(&_id)) return BtFail(BtStr(_form->no_id));
  if (!Ba_ScanSwitch(in, &_on)) return BtFail(BtStr(_form->no_switch));
  for (;;) {
    int code = kNoMoreLightAttributes;
    if (!in.readInt(&code)) return BtFail(BtStr(_form->no_code));
    if (code == kNoMoreLightAttributes) return true;
    if (!_scanAttribute(code, in)) return false;
  }
}

bool Ba_LightRecord::_scanAttribute(int code, BtScanner& in) {
  const auto* found = std::ranges::find(kBaLightAttrs, code, _form->code);
  if (found == std::end(kBaLightAttrs)) {
    return BtFail(BtStr(_form->unknown_code).replace("%d", BtFormat("%d", code)));
  }
  if (!_attributes.scanFrom(*found, _form->name, in)) return false;
  if (found->kind == Ba_LightAttr_t::SpotLightAttr) _clipSpotExponent();
  return true;
}

void Ba_LightRecord::_clipSpotExponent() {
  float& exponent = _attributes.add(Ba_LightAttr_t::SpotLightAttr)->values()[0];
  const float clipped = std::clamp(exponent, 0.0F, kMaxSpotExponent);
  if (clipped == exponent) return;
  // The record made last stands on top, so the light is named first. Lighting models have no spots.
  theExceptObj.setAsWarning("Warning while reading light id %i.", _id);
  theExceptObj.setAsWarning(
      "Spot light exponent (%f) should be between 0.0 and 128.0.  Value clipped to %f.",
      static_cast<double>(exponent), static_cast<double>(clipped));
  exponent = clipped;
}

void Ba_LightRecord::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  os << _form->letter;
  Ba_PutInt(os, _id);
  Ba_PutInt(os, _on ? 1 : 0);
  os << '\n';
  _attributes.printOn(_form->code, os);
  Ba_PutInt(os, kNoMoreLightAttributes);
  os << '\n';
}
