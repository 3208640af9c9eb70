#include "Ba/balightingmodel.h"

#include <algorithm>
#include <ostream>

#include "Bt/btexcept.h"
#include "balegacytext.h"
#include "btclassicios.h"

namespace {

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
  const auto* found = std::ranges::find(kBaLightAttrs, code, &Ba_LightAttrInfo::model_code);
  if (found == std::end(kBaLightAttrs)) {
    return BtFail("Unknown lighting model attribute type %d.", code);
  }
  return _attributes.scanFrom(*found, "lighting model", in);
}

void BaLightingModel::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  os << "G  ";
  Ba_PutInt(os, _id);
  Ba_PutInt(os, _on ? 1 : 0);
  os << '\n';
  _attributes.printOn(&Ba_LightAttrInfo::model_code, os);
  Ba_PutInt(os, kNoMoreModelAttributes);
  os << '\n';
}
