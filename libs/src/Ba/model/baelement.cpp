#include "Ba/baelement.h"

#include "Bt/btscan.h"
#include "balegacytext.h"

bool BaElement::_scanIds(BtScanner& in) {
  BtAssert(isValid(), "isValid()");
  if (!in.readInt(&_body_id)) return BtFail("Unable to read body id.");
  if (!in.readInt(&_material_id)) return BtFail("Unable to read material id.");
  return true;
}
