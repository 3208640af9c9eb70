#include "Ba/bamdgeometry.h"

#include <ostream>
#include <vector>

#include "Ba/bamdvertices.h"
#include "bamdsection.h"
#include "btclassicios.h"

namespace {

class GeometryReader {
 public:
  GeometryReader(BaMDGeometry* geometry, const BaMDGeometry::Materials* materials)
      : _geometry(geometry), _materials(materials) {}

  bool readBody(const BaMDItem& item);
  bool readVertices(const BaMDItem& item);
  bool readTextureCoords(const BaMDItem& item);
  bool readMaterialGroup(const BaMDItem& item);
  bool readUnknown(const BaMDItem& item) { return BaFailUnknownKey(item.key); }

 private:
  BaMDGeometry* _geometry;
  const BaMDGeometry::Materials* _materials;
};

constexpr BaMDKey<GeometryReader> kGeometryKeys[] = {
    {"BODY", &GeometryReader::readBody},
    {"VERTICES", &GeometryReader::readVertices},
    {"TEXTURE_COORDINATES", &GeometryReader::readTextureCoords},
    {"MATERIAL_GROUP", &GeometryReader::readMaterialGroup, true},
};

bool GeometryReader::readBody(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, nullptr, &name)) return BtFail("Invalid value for BODY.");
  _geometry->setBodyName(name);
  return true;
}

bool GeometryReader::readVertices(const BaMDItem& item) {
  BtStr name;
  if (!BaReadName(item, nullptr, &name)) return BtFail("Invalid value for VERTICES.");
  _geometry->setVerticesName(name);
  return true;
}

bool GeometryReader::readTextureCoords(const BaMDItem& item) {
  constexpr const char* kMessage = "Error reading texture coordinate.";
  if (item.single_line) return BtFail(kMessage);
  BtViewStream block(item.value);
  BtScanner in(block);
  const BtViewReading reading(block);
  std::vector<BaTextureCoords> coords;
  coords.reserve(BaRoomFor(item.value, '\n'));
  while (in.skipSpace()) {
    float numbers[2];
    if (!in.readFloats(numbers, 2)) return BtFail(kMessage);
    coords.push_back({.u = numbers[0], .v = numbers[1]});
  }
  _geometry->setTextureCoords(BaToArray<BaTextureCoords>(coords));
  return true;
}

bool GeometryReader::readMaterialGroup(const BaMDItem& item) {
  auto group = std::make_unique<BaMDMaterialGroup>();
  if (BaScanBlock(item, *group, _materials)) {
    _geometry->addMaterialGroup(std::move(group));
    return true;
  }
  if (group->material().isNull()) return BtFail("Unable to read MATERIAL_GROUP section.");
  return BtFail("Unable to read MATERIAL_GROUP section \"" + group->material() + "\".");
}

// How many vertices and texture coordinates there are to refer to.
struct Limits {
  int vertices;
  int coords;
};

bool IsWithin(int index, int limit) { return index >= 1 && index <= limit; }
bool IsWithin(int vertex, const Limits& limits) { return IsWithin(vertex, limits.vertices); }
bool IsWithin(const BaMDTexturedCorner& corner, const Limits& limits) {
  return IsWithin(corner.vertex, limits.vertices) && IsWithin(corner.coord, limits.coords);
}

bool FailVertex(int vertex, const char* element, const BtStr& body_name) {
  if (vertex < 1) return BtFail("Invlalid vertex in GEOMETRY for body " + BaShown(body_name) + ".");
  return BtFail("A %s references a vertex (%d) that does not exist.", element, vertex);
}

bool FailEntry(int vertex, const Limits& /*limits*/, const char* element, const BtStr& body_name) {
  return FailVertex(vertex, element, body_name);
}

bool FailEntry(const BaMDTexturedCorner& corner, const Limits& limits, const char* element,
               const BtStr& body_name) {
  if (!IsWithin(corner.vertex, limits.vertices)) {
    return FailVertex(corner.vertex, element, body_name);
  }
  return BtFail("A %s references a texture coordinate (%d) that does not exist.", element,
                corner.coord);
}

template <class Entry>
bool CheckEntries(const BaMDIndexLists<Entry>& lists, const Limits& limits, const char* element,
                  const BtStr& body_name) {
  for (const Entry& entry : lists.entries()) {
    if (!IsWithin(entry, limits)) return FailEntry(entry, limits, element, body_name);
  }
  return true;
}

}  // namespace

BaMDGeometry::~BaMDGeometry() { BaDeleteAll(&_groups); }

void BaMDGeometry::clear() {
  BaDeleteAll(&_groups);
  _texture_coords.clear();
}

BaMDMaterialGroup* BaMDGeometry::addMaterialGroup(std::unique_ptr<BaMDMaterialGroup> group) {
  return BaAppend(&_groups, std::move(group));
}

bool BaMDGeometry::hasPolygons() const {
  for (const BaMDMaterialGroup* group : _groups) {
    if (group->hasPolygons()) return true;
  }
  return false;
}

void BaMDGeometry::untexture() {
  for (BaMDMaterialGroup* mg : _groups) {
    BtAssert(mg, "mg");
    mg->untexture();
  }
}

bool BaMDGeometry::checkIndices(const BaMDVertices* vertices) const {
  const Limits limits = {vertices == nullptr ? 0 : vertices->coordinates().size(),
                         _texture_coords.size()};
  for (const BaMDMaterialGroup* group : _groups) {
    if (!CheckEntries(group->polygons(), limits, "POLYGON", bodyName()) ||
        !CheckEntries(group->texturedPolygons(), limits, "TEXTURED_POLYGON", bodyName()) ||
        !CheckEntries(group->triangleStrips(), limits, "TRIANGLE_STRIP", bodyName()) ||
        !CheckEntries(group->texturedTriangleStrips(), limits, "TEXTURED_TRIANGLE_STRIP",
                      bodyName())) {
      return false;
    }
  }
  return true;
}

bool BaMDGeometry::scanFrom(std::istream& is, const Materials* materials) {
  return BaMDSource(is).scan(*this, materials);
}

bool BaMDGeometry::_scanFrom(BaMDSource& source, const Materials* materials) {
  GeometryReader reader(this, materials);
  return BaScanSection(source, reader, kGeometryKeys);
}

bool BaMDGeometry::printOn(std::ostream& os) const {
  const BtClassicIos plain(os);
  os << "GEOMETRY {\n";
  if (!BaPrintName(os, "  BODY: ", bodyName())) return false;
  if (!_vertices_name.isNull() && !BaPrintName(os, "  VERTICES: ", _vertices_name)) return false;
  if (!_texture_coords.empty()) {
    os << "  TEXTURE_COORDINATES {\n";
    for (const BaTextureCoords& coord : _texture_coords) {
      const float numbers[] = {coord.u, coord.v};
      os << "    ";
      if (!BaPrintNumbers(os, numbers)) return false;
      os << '\n';
    }
    os << "  }\n";
  }
  for (const BaMDMaterialGroup* group : _groups) {
    if (!group->printOn(os)) return BtFail("Unable to write MATERIAL_GROUP section.");
  }
  os << "}\n";
  return BaCheckWritten(os, "Unable to write file.");
}
