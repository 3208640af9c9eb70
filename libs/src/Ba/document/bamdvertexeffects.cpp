#include "Ba/bamdvertexeffects.h"

#include <ostream>
#include <vector>

#include "bamdsection.h"
#include "btclassicios.h"

namespace {

class FlexReader {
 public:
  explicit FlexReader(BaMDFlexVEffects* flex) : _flex(flex) {}

  bool readBody(const BaMDItem& item);
  bool readWeights(const BaMDItem& item);
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  BaMDFlexVEffects* _flex;
};

constexpr BaMDKey<FlexReader> kFlexKeys[] = {
    {"BODY", &FlexReader::readBody},
    {"WEIGHTS", &FlexReader::readWeights},
};

class BlendReader {
 public:
  explicit BlendReader(BaMDBlendVEffects* blend) : _blend(blend) {}

  bool readSliderGroup(const BaMDItem& item);
  bool readSliderName(const BaMDItem& item);
  bool readVectors(const BaMDItem& item);
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  BaMDBlendVEffects* _blend;
};

constexpr BaMDKey<BlendReader> kBlendKeys[] = {
    {"SLIDER_GROUP", &BlendReader::readSliderGroup},
    {"SLIDER_NAME", &BlendReader::readSliderName},
    {"VECTORS", &BlendReader::readVectors},
};

// Reads a 1-based vertex index of a section.
bool ReadVertexIndex(BtScanner* in, const char* section, int* index) {
  if (!in->readInt(index)) return BtFail("Unable to read vertex index in %s section.", section);
  if (*index < 1) theExceptObj.set("Invalid vertex index (%d) in %s section.", *index, section);
  return *index >= 1;
}

bool FlexReader::readBody(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, nullptr, &name)) return BtFail("Invalid value for BODY in FLEX section.");
  _flex->setBodyName(name);
  return true;
}

bool FlexReader::readWeights(const BaMDItem& item) {
  constexpr const char* kMessage = "Unable to read weighting in WEIGHTS section.";
  if (item.single_line) return BtFail(kMessage);
  BtViewStream block(item.value);
  BtScanner in(block);
  const BtViewReading reading(block);
  std::vector<BaMDFlexVEffects::Weight> weights;
  while (in.skipSpace()) {
    BaMDFlexVEffects::Weight entry = {};
    if (!in.readFloat(&entry.weight)) return BtFail(kMessage);
    if (!ReadVertexIndex(&in, "WEIGHTS", &entry.vertex)) return false;
    weights.push_back(entry);
  }
  _flex->setWeights(BaToArray<BaMDFlexVEffects::Weight>(weights));
  return true;
}

bool BlendReader::readSliderGroup(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, nullptr, &name)) {
    return BtFail("Invalid value for SLIDER_GROUP in BLEND section.");
  }
  _blend->setSliderGroup(name);
  return true;
}

bool BlendReader::readSliderName(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, nullptr, &name)) {
    return BtFail("Invalid value for SLIDER_NAME in BLEND section.");
  }
  _blend->setSliderName(name);
  return true;
}

bool BlendReader::readVectors(const BaMDItem& item) {
  constexpr const char* kMessage = "Unable to read vector in VECTORS section.";
  if (item.single_line) return BtFail(kMessage);
  BtViewStream block(item.value);
  BtScanner in(block);
  const BtViewReading reading(block);
  std::vector<BaMDBlendVEffects::Vector> vectors;
  while (in.skipSpace()) {
    BaMDBlendVEffects::Vector entry = {};
    if (!in.readFloats(entry.v, 3)) return BtFail(kMessage);
    if (!ReadVertexIndex(&in, "VECTORS", &entry.vertex)) return false;
    vectors.push_back(entry);
  }
  _blend->setVectors(BaToArray<BaMDBlendVEffects::Vector>(vectors));
  return true;
}

}  // namespace

bool BaMDVertexEffects::scanFrom(std::istream& is) { return BaMDSource(is).scan(*this); }

bool BaMDFlexVEffects::_scanFrom(BaMDSource& source) {
  FlexReader reader(this);
  if (!BaScanSection(source, reader, kFlexKeys)) return false;
  return !_body_name.isNull() || BtFail("No BODY specified in FLEX section.");
}

bool BaMDFlexVEffects::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!_body_name.isNull(), "!_body_name.isNull()");
  BtAssert(!_weights.empty(), "_weights.size()>0");
  os << "    FLEX {\n";
  if (!BaPrintName(os, "      BODY: ", _body_name)) return false;
  os << "      WEIGHTS {\n";
  for (const Weight& entry : _weights) {
    os << "        ";
    if (!BaPrintNumbers(os, {&entry.weight, 1})) return false;
    os << ' ';
    BaPrintInt(os, entry.vertex);
    os << '\n';
  }
  os << "      }\n    }\n";
  return BaCheckWritten(os, "Unable to write file.");
}

bool BaMDBlendVEffects::_scanFrom(BaMDSource& source) {
  BlendReader reader(this);
  if (!BaScanSection(source, reader, kBlendKeys)) return false;
  if (_slider_group.isNull()) return BtFail("No SLIDER_GROUP specified in BLEND section.");
  return !_slider_name.isNull() || BtFail("No SLIDER_NAME specified in BLEND section.");
}

bool BaMDBlendVEffects::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!_slider_group.isNull(), "!_slider_group.isNull()");
  BtAssert(!_slider_name.isNull(), "!_slider_name.isNull()");
  BtAssert(!_vectors.empty(), "_vectors.size()>0");
  os << "    BLEND {\n";
  if (!BaPrintName(os, "      SLIDER_GROUP: ", _slider_group)) return false;
  if (!BaPrintName(os, "      SLIDER_NAME: ", _slider_name)) return false;
  os << "      VECTORS {\n";
  for (const Vector& entry : _vectors) {
    os << "        ";
    if (!BaPrintNumbers(os, entry.v)) return false;
    os << ' ';
    BaPrintInt(os, entry.vertex);
    os << '\n';
  }
  os << "      }\n    }\n";
  return BaCheckWritten(os, "Unable to write file.");
}
