#include "Ba/bamdinclude.h"

#include <ostream>

#include "bamdsection.h"
#include "btclassicios.h"

namespace {

class IncludeReader {
 public:
  explicit IncludeReader(BaMDInclude* include) : _include(include) {}

  bool readFileName(const BaMDItem& item);
  bool readBodyIdOffset(const BaMDItem& item);
  bool readBodyNameSuffix(const BaMDItem& item);
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  static bool _fail(const BaMDItem& item) {
    return BtFail("Invalid value for " + BtStr(item.key) + ".");
  }

  BaMDInclude* _include;
};

constexpr BaMDKey<IncludeReader> kIncludeKeys[] = {
    {"FILE_NAME", &IncludeReader::readFileName},
    {"BODY_ID_OFFSET", &IncludeReader::readBodyIdOffset},
    {"BODY_NAME_SUFFIX", &IncludeReader::readBodyNameSuffix},
};

// A file name may hold blanks.
bool IncludeReader::readFileName(const BaMDItem& item) {
  if (!item.single_line || item.value.empty()) return _fail(item);
  _include->setFileName(BtStr(item.value));
  return true;
}

bool IncludeReader::readBodyIdOffset(const BaMDItem& item) {
  int offset = 0;
  if (!BaReadInt(item, &offset)) return _fail(item);
  _include->setBodyIdOffset(offset);
  return true;
}

bool IncludeReader::readBodyNameSuffix(const BaMDItem& item) {
  if (!item.single_line || BaHoldsSpace(item.value)) return _fail(item);
  _include->setBodyNameSuffix(BtStr(item.value));
  return true;
}

}  // namespace

bool BaMDInclude::scanFrom(std::istream& is) { return BaMDSource(is).scan(*this); }

bool BaMDInclude::_scanFrom(BaMDSource& source) {
  IncludeReader reader(this);
  if (!BaScanSection(source, reader, kIncludeKeys)) return false;
  return !_file_name.isNull() || BtFail("No FILE_NAME specified.");
}

bool BaMDInclude::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!_file_name.isNull(), "!_file_name.isNull()");
  os << "INCLUDE {\n";
  if (!BaPrintText(os, "  FILE_NAME: ", _file_name)) return false;
  os << "  BODY_ID_OFFSET: ";
  BaPrintInt(os, _body_id_offset);
  os << '\n';
  if (!BaPrintText(os, "  BODY_NAME_SUFFIX: ", _body_name_suffix)) return false;
  os << "}\n";
  return BaCheckWritten(os, "Unable to write file.");
}
