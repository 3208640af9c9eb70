#include "Ba/babone.h"

#include <ostream>

#include "balegacytext.h"
#include "btclassicios.h"

bool BaBone::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool BaBone::scanFrom(BtScanner& in) {
  if (!_scanIds(in)) return false;
  if (!in.readFloats(_from.data(), 3)) return BtFail("Unable to read first bone coordinate.");
  if (!in.readFloats(_to.data(), 3)) return BtFail("Unable to read second bone coordinate.");
  return true;
}

void BaBone::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(isValid(), "isValid()");
  os << 'B';
  Ba_PutInt(os, bodyId());
  Ba_PutInt(os, materialId());
  Ba_PutFloats(os, _from);
  Ba_PutFloats(os, _to);
  os << '\n';
}
