#include "Ba/bamuscle.h"

#include <algorithm>
#include <ostream>
#include <vector>

#include "balegacytext.h"
#include "btclassicios.h"

bool BaMuscle::scanFrom(std::istream& is) {
  BtScanner in(is);
  return scanFrom(in);
}

bool BaMuscle::scanFrom(BtScanner& in) {
  if (!in.readInt(&_material_id)) return BtFail("Unable to read material id for muscle data.");
  if (!_scanName(in)) return BtFail("Unable to read name for muscle data.");
  return _scanBodyIds(in);
}

void BaMuscle::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  os << 'm';
  Ba_PutInt(os, _material_id);
  os << ' ' << _name << '\n';
  for (const int id : _body_ids) Ba_PutInt(os, id);
  os << '\n';
}

bool BaMuscle::_scanName(BtScanner& in) {
  BtStr line;
  line.scanLine(in.stream());
  if (line.isNull()) return false;
  // What goes beyond the limit is not part of the name.
  _name = line.left(std::min(line.length(), kBaLineLimit));
  _name.trimRight().trimLeft();
  return _name.view().find('\0') == std::string_view::npos;
}

bool BaMuscle::_scanBodyIds(BtScanner& in) {
  std::vector<int> ids;
  for (;;) {
    const int c = in.peek();
    if (c == std::char_traits<char>::eof()) return BtFail("Error reading muscle data.");
    const bool blank = BtIsSpace(static_cast<char>(c));
    if (blank) {
      in.get();
      if (c == '\n') break;
      continue;
    }
    int id = 0;
    if (!in.readInt(&id)) return BtFail("Error reading body id for muscle.");
    ids.push_back(id);
  }
  _body_ids.clear();
  _body_ids.resize(SizeTToInt(ids.size()));
  std::copy(ids.begin(), ids.end(), _body_ids.begin());
  return true;
}
