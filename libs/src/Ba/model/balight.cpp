#include "Ba/balight.h"

#include <algorithm>
#include <ostream>

#include "Bt/btexcept.h"
#include "balegacytext.h"
#include "btclassicios.h"

namespace {

constexpr BaLightAttrs::Code kLightCodes[] = {
    {2, Ba_LightAttr_t::AmbientAttr, "Unable to read light ambient attribute."},
    {101, Ba_LightAttr_t::DiffuseAttr, "Unable to read light color attribute."},
    {102, Ba_LightAttr_t::PositionAttr, "Unable to read light position attribute."},
    {103, Ba_LightAttr_t::SpotDirectionAttr, "Unable to read light spot direction attribute."},
    {104, Ba_LightAttr_t::SpotLightAttr, "Unable to read light spot light attribute."},
};

constexpr int kNoMoreLightAttributes = 0;
constexpr float kMaxSpotExponent = 128.0F;

}  // namespace

bool BaLight::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool BaLight::scanFrom(BtScanner& in) {
  if (!in.readInt(&_id)) return BtFail("Unable to read light id.");
  if (!Ba_ScanSwitch(in, &_on)) return BtFail("Unable to read light on/off status.");
  for (;;) {
    int code = kNoMoreLightAttributes;
    if (!in.readInt(&code)) return BtFail("Unable to read light attribute status.");
    if (code == kNoMoreLightAttributes) return true;
    if (!_scanAttribute(code, in)) return false;
  }
}

bool BaLight::_scanAttribute(int code, BtScanner& in) {
  const auto* found = std::ranges::find(kLightCodes, code, &BaLightAttrs::Code::code);
  if (found == std::end(kLightCodes)) return BtFail("Invalid light attribute.");
  if (!_attributes.scanFrom(*found, in)) return false;
  if (found->kind == Ba_LightAttr_t::SpotLightAttr) _clipSpotExponent();
  return true;
}

void BaLight::_clipSpotExponent() {
  float& exponent = _attributes.add(Ba_LightAttr_t::SpotLightAttr)->values()[0];
  const float clipped = std::clamp(exponent, 0.0F, kMaxSpotExponent);
  if (clipped == exponent) return;
  // The record made last stands on top, so the light is named first.
  theExceptObj.setAsWarning("Warning while reading light id %i.", _id);
  theExceptObj.setAsWarning(
      "Spot light exponent (%f) should be between 0.0 and 128.0.  Value clipped to %f.",
      static_cast<double>(exponent), static_cast<double>(clipped));
  exponent = clipped;
}

void BaLight::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  os << "I  ";
  Ba_PutInt(os, _id);
  Ba_PutInt(os, _on ? 1 : 0);
  os << '\n';
  _attributes.printOn(kLightCodes, os);
  Ba_PutInt(os, kNoMoreLightAttributes);
  os << '\n';
}
