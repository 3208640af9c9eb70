#include "Ba/bamdcoordsys.h"

#include <algorithm>
#include <ostream>

#include "bamdsection.h"
#include "btclassicios.h"

namespace {

constexpr std::string_view kAxisLetters = "XYZ";

class CoordSysReader {
 public:
  explicit CoordSysReader(BaMDCoordSys* coord_sys) : _coord_sys(coord_sys) {}

  bool readTranslation(const BaMDItem& item);
  bool readRotation(const BaMDItem& item);
  bool readUnknown(const BaMDItem& item) {
    return BtFail("Unrecognized key word \"" + BtStr(item.key) +
                  "\" in COORDINATE_SYSTEM section.");
  }
  [[nodiscard]] bool checkComplete() const;

 private:
  static bool _readThree(const BaMDItem& item, std::string_view* text,
                         std::array<float, 3>* values);
  bool _readOrder(std::string_view text);

  BaMDCoordSys* _coord_sys;
  bool _has_translation = false;
  bool _has_rotation = false;
};

constexpr BaMDKey<CoordSysReader> kCoordSysKeys[] = {
    {"TRANSLATION", &CoordSysReader::readTranslation},
    {"ROTATION", &CoordSysReader::readRotation},
};

bool CoordSysReader::_readThree(const BaMDItem& item, std::string_view* text,
                                std::array<float, 3>* values) {
  *text = item.value;
  return item.single_line && std::all_of(values->begin(), values->end(), [text](float& value) {
           return BtReadFloat(text, &value);
         });
}

bool CoordSysReader::readTranslation(const BaMDItem& item) {
  std::array<float, 3> translation = {};
  std::string_view text;
  if (!_readThree(item, &text, &translation) || !BaAtEnd(text)) {
    return BtFail("Unable to read value for TRANSLATION.");
  }
  _coord_sys->setTranslation(translation);
  _has_translation = true;
  return true;
}

bool CoordSysReader::readRotation(const BaMDItem& item) {
  std::array<float, 3> rotation = {};
  std::string_view text;
  if (!_readThree(item, &text, &rotation)) return BtFail("Unable to read value for ROTATION.");
  _coord_sys->setRotation(rotation);
  _has_rotation = true;
  return _readOrder(text);
}

bool CoordSysReader::_readOrder(std::string_view text) {
  std::array<int, 3> order = {-1, -1, -1};
  for (int& place : order) {
    std::string_view word;
    if (!BtReadToken(&text, &word)) return BtFail("Unable to read value for ROTATION.");
    const std::size_t axis =
        word.size() == 1 ? kAxisLetters.find(word.front()) : std::string_view::npos;
    if (axis == std::string_view::npos) continue;
    const int number = static_cast<int>(axis) + 1;
    if (std::find(order.begin(), order.end(), number) != order.end()) {
      return BtFail(
          "The \"%c\" component of the rotation order is specified more than once in the "
          "COORDINATE_SYSTEM section.",
          kAxisLetters[axis]);
    }
    place = number;
  }
  if (!BaAtEnd(text)) return BtFail("Unable to read value for ROTATION.");
  if (std::find(order.begin(), order.end(), -1) != order.end()) {
    return BtFail("The rotation order has not been fully specified.");
  }
  _coord_sys->setRotationOrder(order);
  return true;
}

bool CoordSysReader::checkComplete() const {
  if (!_has_translation) return BtFail("No TRANSLATION specified in COORDINATE_SYSTEM section.");
  return _has_rotation || BtFail("No ROTATION specified in COORDINATE_SYSTEM section.");
}

}  // namespace

void BaMDCoordSys::setRotationVector(const BtFloatArray& vec) {
  BtAssert(vec.size() == 3, "vec.size()==3");
  std::copy(vec.begin(), vec.end(), _rotation.begin());
}

bool BaMDCoordSys::scanFrom(std::istream& is) { return BaMDSource(is).scan(*this); }

bool BaMDCoordSys::_scanFrom(BaMDSource& source) {
  CoordSysReader reader(this);
  return BaScanSection(source, reader, kCoordSysKeys) && reader.checkComplete();
}

bool BaMDCoordSys::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  constexpr std::array<int, 3> kAxes = {1, 2, 3};
  if (!std::is_permutation(kAxes.begin(), kAxes.end(), _rotation_order.begin())) {
    return BtFail("The rotation order has not been fully specified.");
  }
  os << "  COORDINATE_SYSTEM {\n    TRANSLATION: ";
  if (!BaPrintNumbers(os, _translation)) return false;
  os << "\n    ROTATION: ";
  if (!BaPrintNumbers(os, _rotation)) return false;
  for (const int axis : _rotation_order) {
    os << ' ' << kAxisLetters[static_cast<std::size_t>(axis - 1)];
  }
  os << "\n  }\n";
  return BaCheckWritten(os, "Error writing file.");
}
