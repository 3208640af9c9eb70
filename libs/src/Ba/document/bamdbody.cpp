#include "Ba/bamdbody.h"

#include <algorithm>
#include <ostream>

#include "bamdsection.h"
#include "btclassicios.h"

namespace {

class BodyReader {
 public:
  explicit BodyReader(BaMDBody* body) : _body(body) {}

  bool readName(const BaMDItem& item);
  bool readId(const BaMDItem& item);
  bool readCoordSys(const BaMDItem& item);
  bool readParentName(const BaMDItem& item);
  bool readUnknown(const BaMDItem& item) {
    return _fail("Unrecognized key word \"" + BtStr(item.key) + "\" in BODY section");
  }
  // False when something is missing or an error did not end the section.
  [[nodiscard]] bool checkComplete() const;

 private:
  // Records `message` and, where it is known already, the body's name.
  [[nodiscard]] bool _fail(const BtStr& message) const;

  BaMDBody* _body;
  bool _has_coord_sys = false;
  bool _failed = false;
};

constexpr BaMDKey<BodyReader> kBodyKeys[] = {
    {"NAME", &BodyReader::readName},
    {"ID", &BodyReader::readId},
    {"COORDINATE_SYSTEM", &BodyReader::readCoordSys},
    {"PARENT_NAME", &BodyReader::readParentName},
};

// Letters, digits and punctuation. Bytes above ASCII are parts of UTF-8 letters.
bool IsNameChar(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte > ' ' && byte != 0x7F;
}

bool IsBodyName(std::string_view name) { return std::all_of(name.begin(), name.end(), IsNameChar); }

bool BodyReader::_fail(const BtStr& message) const {
  if (_body->name().isNull()) return BtFail(message + ".");
  return BtFail(message + " for body \"" + _body->name() + "\".");
}

bool BodyReader::readName(const BaMDItem& item) {
  const std::string_view name = item.value;
  if (!item.single_line || name.empty()) return BtFail("Invalid value for NAME in BODY section.");
  if (!IsBodyName(name)) {
    return BtFail("Body name \"" + BtStr(item.value) + "\" has invalid characters.");
  }
  _body->setName(BtStr(item.value));
  return true;
}

bool BodyReader::readId(const BaMDItem& item) {
  int id = 0;
  if (!BaReadInt(item, &id)) return _fail("Unable to read ID");
  _body->setId(id);
  return true;
}

bool BodyReader::readCoordSys(const BaMDItem& item) {
  BaMDCoordSys coord_sys;
  if (!BaScanBlock(item, coord_sys)) return _fail("Unable to read COORDINATE_SYSTEM section");
  _body->setCoordSys(coord_sys);
  _has_coord_sys = true;
  return true;
}

// A name with blanks is an error that does not end the section: what else is wrong is told as well.
bool BodyReader::readParentName(const BaMDItem& item) {
  if (!item.single_line) return _fail("Invalid value for PARENT_NAME");
  if (BaHoldsSpace(item.value)) {
    BtFail("Body names cannot contain spaces.");
    _failed = !_fail("Invalid value for PARENT_NAME");
  }
  _body->setParentName(BtStr(item.value));
  return true;
}

bool BodyReader::checkComplete() const {
  if (_body->name().isNull()) return BtFail("No NAME specified in BODY section.");
  if (!_has_coord_sys) return BtFail("No COORDINATE_SYSTEM specified in BODY section.");
  return !_failed;
}

}  // namespace

int BaMDBody::id() const {
  BtAssert(hasId());
  return *_id.get();
}

bool BaMDBody::scanFrom(std::istream& is) { return BaMDSource(is).scan(*this); }

bool BaMDBody::_scanFrom(BaMDSource& source) {
  BodyReader reader(this);
  return BaScanSection(source, reader, kBodyKeys) && reader.checkComplete();
}

bool BaMDBody::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!name().isNull(), "!_name.isNull()");
  BtAssert(!parentName().isNull(), "!_parent_name.isNull()");
  os << "BODY {\n";
  if (!IsBodyName(name().view())) return BaFailUnwritable(name());
  if (!BaPrintName(os, "  NAME: ", name())) return false;
  if (hasId()) {
    os << "  ID: ";
    BaPrintInt(os, id());
    os << '\n';
  }
  if (!_coord_sys.printOn(os)) return BtFail("Unable to write COORDINATE_SYSTEM section.");
  if (!BaPrintName(os, "  PARENT_NAME: ", parentName())) return false;
  os << "}\n";
  return BaCheckWritten(os, "Unable to write file.");
}
