#include "Ba/bamdvertices.h"

#include <ostream>
#include <vector>

#include "bamdsection.h"
#include "btclassicios.h"

namespace {

// Reads the blocks of an EFFECTS block.
class EffectsReader {
 public:
  explicit EffectsReader(BaMDVertices* vertices) : _vertices(vertices) {}

  bool readFlex(const BaMDItem& item) { return _read(item, std::make_unique<BaMDFlexVEffects>()); }
  bool readBlend(const BaMDItem& item) {
    return _read(item, std::make_unique<BaMDBlendVEffects>());
  }
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  bool _read(const BaMDItem& item, std::unique_ptr<BaMDVertexEffects> effects) {
    if (!BaScanBlock(item, *effects))
      return BtFail("Unable to read " + BtStr(item.key) + " effect.");
    _vertices->addEffects(std::move(effects));
    return true;
  }

  BaMDVertices* _vertices;
};

constexpr BaMDKey<EffectsReader> kEffectsKeys[] = {
    {"FLEX", &EffectsReader::readFlex, true},
    {"BLEND", &EffectsReader::readBlend, true},
};

class VerticesReader {
 public:
  explicit VerticesReader(BaMDVertices* vertices) : _vertices(vertices) {}

  bool readName(const BaMDItem& item);
  bool readCoordinates(const BaMDItem& item);
  bool readEffects(const BaMDItem& item);
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  bool _readPoints(std::string_view text);

  BaMDVertices* _vertices;
};

constexpr BaMDKey<VerticesReader> kVerticesKeys[] = {
    {"NAME", &VerticesReader::readName},
    {"COORDINATES", &VerticesReader::readCoordinates},
    {"EFFECTS", &VerticesReader::readEffects, true},
};

bool VerticesReader::readName(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, "Vertex group names cannot contain spaces.", &name)) {
    return BtFail("Invalid value for NAME in VERTICES section.");
  }
  _vertices->setName(name);
  return true;
}

bool VerticesReader::readCoordinates(const BaMDItem& item) {
  if (item.single_line || !_readPoints(item.value)) {
    return BtFail("Unable to read values for COORDINATES.");
  }
  return true;
}

bool VerticesReader::_readPoints(std::string_view text) {
  constexpr const char* kMessages[] = {"Error reading X coordinate.", "Error reading Y coordinate.",
                                       "Error reading Z coordinate."};
  BtViewStream block(text);
  BtScanner in(block);
  const BtViewReading reading(block);
  std::vector<BaMDPoint> points;
  points.reserve(BaRoomFor(text, '\n'));
  while (in.skipSpace()) {
    float numbers[3];
    const int count = in.readSomeFloats(numbers, 3);
    if (count < 3) return BtFail("%s", kMessages[count]);
    points.push_back({numbers[0], numbers[1], numbers[2]});
  }
  _vertices->setCoordinates(BaToArray<BaMDPoint>(points));
  return true;
}

bool VerticesReader::readEffects(const BaMDItem& item) {
  EffectsReader reader(_vertices);
  BaMDSource block(item.value);
  return BaScanSection(block, reader, kEffectsKeys) || BtFail("Unable to read EFFECTS section.");
}

// True when no entry refers to a vertex beyond `count`.
template <class Entry>
bool CheckEntries(const BtDArray<Entry>& entries, int count, const char* section) {
  for (const Entry& entry : entries) {
    if (entry.vertex > count) {
      return BtFail("Invalid vertex index (%d) in %s section.", entry.vertex, section);
    }
  }
  return true;
}

// Effects may stand before the coordinates, so their indices are checked at the end.
bool CheckEffects(const BaMDVertices& vertices) {
  const int count = vertices.coordinates().size();
  for (const BaMDVertexEffects* effects : vertices.effects()) {
    const BaMDFlexVEffects* flex = effects->asFlex();
    const BaMDBlendVEffects* blend = effects->asBlend();
    if (flex != nullptr && !CheckEntries(flex->weights(), count, "WEIGHTS")) return false;
    if (blend != nullptr && !CheckEntries(blend->vectors(), count, "VECTORS")) return false;
  }
  return true;
}

}  // namespace

BaMDVertices::~BaMDVertices() { BaDeleteAll(&_effects); }

BaMDVertexEffects* BaMDVertices::addEffects(std::unique_ptr<BaMDVertexEffects> effects) {
  return BaAppend(&_effects, std::move(effects));
}

bool BaMDVertices::scanFrom(std::istream& is) { return BaMDSource(is).scan(*this); }

bool BaMDVertices::_scanFrom(BaMDSource& source) {
  VerticesReader reader(this);
  if (!BaScanSection(source, reader, kVerticesKeys)) return false;
  if (name().isNull()) return BtFail("No NAME specified in VERTICES section.");
  return CheckEffects(*this);
}

bool BaMDVertices::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  BtAssert(!name().isNull(), "!_name.isNull()");
  os << "VERTICES {\n";
  if (!BaPrintName(os, "  NAME: ", name())) return false;
  os << "  COORDINATES {\n";
  for (const BaMDPoint& point : _coordinates) {
    const float numbers[] = {point.x, point.y, point.z};
    os << "    ";
    if (!BaPrintNumbers(os, numbers)) return false;
    os << '\n';
  }
  os << "  }\n  EFFECTS {\n";
  for (const BaMDVertexEffects* effects : _effects) {
    if (!effects->printOn(os)) {
      BtFail(effects->asFlex() != nullptr ? "Unable to write FLEX effect."
                                          : "Unable to write BLEND effect.");
      return BtFail("Unable to write EFFECTS section.");
    }
  }
  os << "  }\n}\n";
  return BaCheckWritten(os, "Unable to write file.");
}
