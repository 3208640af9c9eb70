#include "Ba/bamdslidergroup.h"

#include <ostream>

#include "Bt/btflatmap.h"
#include "Bt/bthash.h"
#include "bamdsection.h"
#include "btclassicios.h"

namespace {

class SliderGroupReader {
 public:
  explicit SliderGroupReader(BaMDSliderGroup* group) : _group(group) {}

  bool readName(const BaMDItem& item);
  bool readSliders(const BaMDItem& item);
  bool readUnknown(const BaMDItem& item) {
    return BtFail("Unrecognized key word \"" + BtStr(item.key) + "\" in SLIDER_GROUP section.");
  }

 private:
  BaMDSliderGroup* _group;
  BtHashSet<BtStr> _names;
};

constexpr BaMDKey<SliderGroupReader> kSliderGroupKeys[] = {
    {"NAME", &SliderGroupReader::readName},
    {"SLIDERS", &SliderGroupReader::readSliders, true},
};

bool SliderGroupReader::readName(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, "Slider group names cannot contain spaces.", &name)) {
    return BtFail("Invalid value for NAME in SLIDER_GROUP section.");
  }
  _group->setName(name);
  return true;
}

bool SliderGroupReader::readSliders(const BaMDItem& item) {
  if (item.single_line) return BtFail("Unable to read slider name from SLIDERS section.");
  BaLines lines(item.value);
  std::string_view line;
  while (lines.next(&line)) {
    if (BaHoldsSpace(line)) {
      BtFail("Slider names cannot contain spaces.");
      return BtFail("Invalid value for slider name in SLIDERS section.");
    }
    const BtStr slider(line);
    if (!_names.insert(slider).second) {
      theExceptObj.setAsWarning("Multiple sliders of a group have name \"" + slider +
                                "\".  The first one counts.");
    }
    _group->addSlider(slider);
  }
  return true;
}

}  // namespace

bool BaMDSliderGroup::scanFrom(std::istream& is) { return BaMDSource(is).scan(*this); }

bool BaMDSliderGroup::_scanFrom(BaMDSource& source) {
  SliderGroupReader reader(this);
  if (!BaScanSection(source, reader, kSliderGroupKeys)) return false;
  return !name().isNull() || BtFail("No NAME specified in SLIDER_GROUP section.");
}

bool BaMDSliderGroup::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!name().isNull(), "!_name.isNull()");
  os << "SLIDER_GROUP {\n";
  if (!BaPrintName(os, "  NAME: ", name())) return false;
  os << "  SLIDERS {\n";
  for (const BtStr& slider : _sliders) {
    if (!BaPrintName(os, "    ", slider)) return false;
  }
  os << "  }\n}\n";
  return BaCheckWritten(os, "Unable to write file.");
}
