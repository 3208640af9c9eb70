#include "Ba/balightingmodel.h"

#include <algorithm>
#include <ostream>

#include "Bt/btexcept.h"
#include "balegacytext.h"
#include "btclassicios.h"

namespace {

constexpr BaLightAttrs::Code kModelCodes[] = {
    {2, Ba_LightAttr_t::AmbientAttr, "Unable to read lighting model ambient attribute."},
    {201, Ba_LightAttr_t::LocalViewerAttr, "Unable to read lighting model local viewer attribute."},
    {202, Ba_LightAttr_t::AttenuationAttr, "Unable to read lighting model attenuation attribute."},
};

constexpr int kNoMoreModelAttributes = 0;

}  // namespace

bool BaLightingModel::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool BaLightingModel::scanFrom(BtScanner& in) {
  if (!in.readInt(&_id)) return BtFail("Unable to read lighting model id.");
  if (!Ba_ScanSwitch(in, &_on)) return BtFail("Unable to read lighting model on/off status.");
  for (;;) {
    int code = kNoMoreModelAttributes;
    if (!in.readInt(&code)) return BtFail("Unable to read lighting model attribute type.");
    if (code == kNoMoreModelAttributes) return true;
    if (!_scanAttribute(code, in)) return false;
  }
}

bool BaLightingModel::_scanAttribute(int code, BtScanner& in) {
  const auto* found = std::ranges::find(kModelCodes, code, &BaLightAttrs::Code::code);
  if (found == std::end(kModelCodes)) {
    return BtFail("Unknown lighting model attribute type %d.", code);
  }
  return _attributes.scanFrom(*found, in);
}

void BaLightingModel::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  os << "G  ";
  Ba_PutInt(os, _id);
  Ba_PutInt(os, _on ? 1 : 0);
  os << '\n';
  _attributes.printOn(kModelCodes, os);
  Ba_PutInt(os, kNoMoreModelAttributes);
  os << '\n';
}
