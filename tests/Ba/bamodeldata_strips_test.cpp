// Strips that stitch parts together by repeated corners keep their triangles in a document.

#include <algorithm>
#include <set>

#include "Ba/modeltexts.h"

namespace {

const std::string kTwoBodies =
    Body(1, "arm", 0) + Body(2, "hand", 1) + Material(1, "skin") + Material(2, "cloth");

// A strip record of body 2 whose corners are at (place, 0, 0). Corners of one place follow body 1
// alike; texture coordinates tell the corners of a strip from each other.
std::string StripRecord(const std::vector<int>& places, bool textured, int material_id) {
  std::ostringstream os;
  os << (textured ? "t 2 " : "T 2 ") << material_id << ' ' << places.size() << '\n';
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (textured) os << i << " 0.5 ";
    os << "0 " << places[i] << (i % 2 == 0 ? " 0 0 " : " -0 0 ");
    if (places[i] % 3 == 0) os << "2 0." << places[i] << ' ';
    os << "-1\n";
  }
  return os.str();
}

// A corner with all that belongs to it.
std::string CornerText(const BaTMesh& mesh, int i) {
  const BaVertex& vertex = mesh.vertices()[i];
  std::string text = std::to_string(vertex.position()[0]);
  if (const Ba_VertexEffect* effect = vertex.effects().first()) {
    text += " " + std::to_string(static_cast<const BaVertexFlexEffect*>(effect)->weight);
  }
  const auto* textured = dynamic_cast<const BaTexturedTMesh*>(&mesh);
  return textured == nullptr ? text + ";"
                             : text + " " + std::to_string(textured->textureCoords()[i].u) + ";";
}

using Triangles = std::multiset<std::string>;

// The triangles of a strip that have three places, each from its least corner on.
void AddTriangles(const BaModel& model, const BaTMesh& mesh, Triangles* triangles) {
  const auto& v = mesh.vertices();
  for (int i = 0; i + 2 < mesh.numVertices(); ++i) {
    if (v[i] == v[i + 1] || v[i + 1] == v[i + 2] || v[i] == v[i + 2]) continue;
    std::vector<std::string> corners = {CornerText(mesh, i), CornerText(mesh, i + 1),
                                        CornerText(mesh, i + 2)};
    if (i % 2 != 0) std::swap(corners[0], corners[1]);
    std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
    const BtStr owner =
        model.findBody(mesh.bodyId())->name() + " " + model.materialById(mesh.materialId())->name();
    triangles->insert(std::string(owner.view()) + " " + corners[0] + corners[1] + corners[2]);
  }
}

Triangles TrianglesOf(const BaModel& model) {
  Triangles triangles;
  for (const auto& mesh : model.tMeshes()) AddTriangles(model, *mesh, &triangles);
  for (const auto& mesh : model.texturedTMeshes()) AddTriangles(model, *mesh, &triangles);
  return triangles;
}

TEST(BaModelDataStrips, KeepCornersThatMakeNoTriangle) {
  const FilledDocument data(LegacyModel(kTwoBodies + StripRecord({4, 5}, false, 1)));
  EXPECT_EQ(data.geometries()[0]->materialGroups()[0]->triangleStrips().count(), 1);
}

TEST(BaModelDataStrips, KeepTheirTriangles) {
  std::mt19937 random(5);
  const auto below = [&random](unsigned limit) { return static_cast<int>(random() % limit); };
  std::size_t triangles = 0;
  for (int round = 0; round < 600 && !testing::Test::HasFailure(); ++round) {
    std::string records = kTwoBodies;
    for (int n = 1 + below(4); n > 0; --n) {
      std::vector<int> places;
      for (int corners = 1 + below(20); corners > 0; --corners) {
        const std::size_t size = places.size();
        const int kind = below(6);
        places.push_back(kind < 2 && size > 0    ? places[size - 1]
                         : kind == 2 && size > 1 ? places[size - 2]
                                                 : below(9));
      }
      records += StripRecord(places, below(2) == 0, 1 + below(2));
    }
    SCOPED_TRACE(records);
    const LegacyModel model(records);
    theExceptObj.clear();
    const Triangles expected = TrianglesOf(model);
    triangles += expected.size();
    for (const bool merge_vertices : {true, false}) {
      BaModelData data;
      EXPECT_TRUE(data.fillFrom(model, merge_vertices)) << TakePrinted();
      const std::string text = Print(data);
      const ExtractedModel again{Document(text.substr(kDocumentHeader.size()))};
      EXPECT_EQ(TakePrinted(), "");
      EXPECT_EQ(TrianglesOf(again), expected) << text;
    }
  }
  EXPECT_GT(triangles, 1000U);
}

}  // namespace
