#include <gtest/gtest.h>

#include <map>
#include <random>

#include "Ba/modeltexts.h"
#include "bamodeldatapolyset.h"
#include "btangles.h"

namespace {

// The geometries and vertex sets of a document as text.
std::string PrintShapes(const BaModelData& data) {
  std::string text;
  for (const BaMDVertices* vertices : data.vertexSets()) text += Print(*vertices);
  for (const BaMDGeometry* geometry : data.geometries()) text += Print(*geometry);
  return text;
}

// Two quads that share an edge, with zeros of both signs.
const std::string kTwoQuads = Body(1, "arm", 0) + Material(1, "skin") +
                              "F 1 1 4  0 0 0 -1  1 0 0 -1  1 1 0 -1  0 1 0 -1\n"
                              "F 1 1 4  1 -0.0 0 -1  2 0 0 -1  2 1 0 -1  1 1 -0.0 -1\n";

TEST(BaModelDataFill, WeldsCornersAtOnePlaceWhenAsked) {
  const LegacyModel model(kTwoQuads);
  const struct {
    bool merge;
    int vertices;
    const char* polygons;
  } cases[] = {{true, 6, "      1 2 3 4\n      2 5 6 3\n"},
               {false, 8, "      1 2 3 4\n      5 6 7 8\n"}};
  for (const auto& c : cases) {
    BaModelData data;
    ASSERT_TRUE(data.fillFrom(model, c.merge)) << TakeMessages();
    EXPECT_EQ(data.vertexSetByName("arm_vertices")->coordinates().size(), c.vertices);
    EXPECT_NE(PrintShapes(data).find(c.polygons), std::string::npos) << PrintShapes(data);
    EXPECT_TRUE(BaModelData_PolySet::mergeVertices());
  }
}

// Every kind of element, two materials, effects of every kind that a legacy file can hold.
TEST(BaModelDataFill, ShapesOfABody) {
  const LegacyModel model(Body(4, "hip", 0) + Body(2, "leg", 4) + Body(7, "foot", 2) +
                          Material(5, "b") + Material(9, "a") +
                          "F 2 9 3  0 0 0 2 0.5 -1  1 0 0 3 0.25 7 2 0.75 -1  0 1 0 3 1 4 -1\n"
                          "P 2 5 3  0.5 0 0 0 0 -1  1 0 1 0 0 -1  0 1 0 0 2 -1\n"
                          "P 2 9 3  1 0 0 0 0 -1  0.5 -0.0 1 0 0 -1  7 7 0 1 0 -1\n"
                          "T 2 9 4  0 0 0 0 -1  0 1 0 0 -1  0 0 1 0 -1  0 1 1 0 -1\n"
                          "t 2 5 3  0 1 0 0 0 0 -1  1 0 0 1 0 0 -1  1 1 0 0 1 0 -1\n"
                          "B 2 9 0 0 0 1 2 3\n"
                          "B 7 5 0 0 0 4 5 6\n"
                          "F 2 5 1  8 8 8 -1\n"
                          "F 2 5 2  0 0 0 -1 1 0 0 -1\n");
  EXPECT_EQ(PrintShapes(FilledDocument(model)), ModelText("filled-shapes.txt"));
}

TEST(BaModelDataFill, BodiesStandParentsFirstUnderCleanNames) {
  const LegacyModel model(Body(9, "top", 0) + Body(3, "left arm", 9) + Body(1, "", 3) +
                          Body(8, "b\xC3\xA4r", 9));
  model.findBody(3)->setName("left\tarm x");
  const FilledDocument data(model);
  std::string bodies;
  for (const BaMDBody* body : data.bodies()) {
    bodies += std::string(body->name().view()) + " " + std::to_string(body->id()) + " < " +
              std::string(body->parentName().view()) + "\n";
    EXPECT_EQ(data.bodyByName(body->name()), body);
    EXPECT_EQ(data.bodyById(body->id()), body);
  }
  EXPECT_EQ(bodies,
            "top 9 < GLOBAL\nleft_arm_x 3 < top\nbody_1 1 < left_arm_x\nb\xC3\xA4r 8 < top\n");
  ASSERT_EQ(data.childBodies("top").size(), 2U);
  EXPECT_EQ(data.childBodies("top")[1]->id(), 8);
  EXPECT_TRUE(data.childBodies("nobody").empty());
}

TEST(BaModelDataFill, ErrorsAndWarnings) {
  for (const ErrorCase& c : ReadErrorCases("unfilled.txt")) {
    SCOPED_TRACE(c.text);
    BaModel model;
    ASSERT_EQ(ScanInto(&model, kLegacyHeader + c.text), "");
    BaModelData data;
    const bool filled = data.fillFrom(model, true);
    EXPECT_EQ(filled, !c.lines.starts_with("ERROR"));
    EXPECT_TRUE(filled || data.bodies().empty());
    EXPECT_EQ(TakePrinted(), PrintedLines(c.lines));
  }
}

// Groups follow a material that got another name, and know that they did.
TEST(BaModelDataFill, GroupsFollowRenamedMaterials) {
  const LegacyModel model(Body(1, "m", 0) + Material(1, "a") + Material(3, "a") +
                          "F 1 3 3 0 0 0 -1 1 0 0 -1 1 1 0 -1\n");
  const FilledDocument data(model);
  theExceptObj.clear();
  EXPECT_EQ(data.geometriesOf("m")[0]->materialGroups()[0]->material(), "a_3");
  EXPECT_NE(data.materialByName("a_3"), nullptr);
}

TEST(BaModelDataFill, CoordinateSystemsComeBack) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> angle(-3.2, 3.2);
  const std::array<int, 3> order = {1, 2, 3};
  LegacyModel model(Body(1, "m", 0));
  for (const BaUnits& units :
       {BaUnits{"RADIANS", 1}, BaUnits{"DEGREES", 1}, BaUnits{"DEGREES", 10}}) {
    model.setAngleUnits(units);
    for (int i = 0; i < 200; ++i) {
      const std::array<double, 3> angles = {angle(random), angle(random), angle(random)};
      const BtCoordSystem expected(BtComposeRotationMatrix(angles, order), {1.5F, -2, 1e6F});
      Bt4X4FloatMat transform = expected.matrix();
      const float scales[] = {2.5F, 0.5F, 4};  // of the axes, in every other model
      for (int k = 0; k < 9; ++k) transform(k / 3, k % 3) *= i % 2 == 0 ? 1 : scales[k / 3];
      model.findBody(1)->setTransform(transform);
      const FilledDocument data(model);
      theExceptObj.clear();
      EXPECT_EQ(data.bodyById(1)->coordSys().rotationOrder(), (std::array<int, 3>{3, 2, 1}));
      BtCoordSystem filled;
      data.getCoordSystem(*data.bodyById(1), &filled);
      EXPECT_EQ(filled.origin(), expected.origin());
      for (int k = 0; k < 9; ++k) {
        EXPECT_NEAR(filled.matrix()(k / 3, k % 3), expected.matrix()(k / 3, k % 3), 1e-6);
      }
    }
  }
}

TEST(BaModelDataFill, OneBodyAtATime) {
  const LegacyModel model(kTwoQuads + Body(2, "a hand", 1) + "B 2 1 0 0 0 1 1 1\n");
  Document data(MaterialSection("skin", "DIFFUSE: 0.5 0.25 1\n"));
  ASSERT_TRUE(data.fillBodyFrom(model, 1, true)) << TakeMessages();
  ASSERT_TRUE(data.fillBodyFrom(model, 2, true)) << TakeMessages();
  EXPECT_EQ(Print(data), Print(FilledDocument(model)));
  EXPECT_FALSE(data.fillBodyFrom(model, 2, true));
  EXPECT_EQ(TakeMessages(), "E Multiple bodies have name \"a_hand\".\n");
  BaModelData empty;
  EXPECT_DEATH((void)empty.fillBodyFrom(model, 1, true), "materialByName\\(material.name\\(\\)\\)");
}

// The hash table gives the answers of an ordered map, with zeros of both signs and effects of the
// first corner.
TEST(BaModelData_PolySet, WeldsAsAnOrderedMapWould) {
  std::mt19937 random(11);
  const float grid[] = {-0.0F, 0.0F, 1.0F, -1.0F, 1e-38F, 3e38F, 0.1F};
  BaModelData_PolySet poly_set(1, 0);
  std::map<std::array<float, 3>, int> expected;
  for (int i = 0; i < 5000; ++i) {
    const std::array<float, 3> p = {grid[random() % 7], grid[random() % 7],
                                    static_cast<float>(random() % 20)};
    const auto place = expected.try_emplace(p, static_cast<int>(expected.size())).first;
    BaVertex vertex(p[0], p[1], p[2]);
    ASSERT_EQ(poly_set.vertexAt(vertex), place->second);
    ASSERT_EQ(std::as_const(poly_set).vertexAt(vertex), place->second);
  }
  EXPECT_EQ(poly_set.vertices().size(), expected.size());
  const BaVertex unknown(5, 5, 5);
  EXPECT_DEATH((void)std::as_const(poly_set).vertexAt(unknown),
               "index>=0 && index<vertices.size\\(\\)");
}

TEST(BaModelData_PolySet, SplitsLargePolygonsIntoFans) {
  const struct {
    int corners;
    int max;
    const char* pieces;
  } cases[] = {
      {4, 4, "0 1 2 3;"},           {5, 4, "0 1 2 3;0 3 4;"},
      {6, 4, "0 1 2 3;0 3 4 5;"},   {7, 4, "0 1 2 3;0 3 4 5;0 5 6;"},
      {5, 3, "0 1 2;0 2 3;0 3 4;"},
  };
  for (const auto& c : cases) {
    BtDArray<BaVertex> vertices;
    BtDArray<BaTextureCoords> coords;
    for (int i = 0; i < c.corners; ++i) {
      const auto x = static_cast<float>(i);
      vertices.append(BaVertex(x, x * x, 0));
      coords.append({x, 0});
    }
    BaTexturedPolygon polygon(1, 1);
    polygon.setVertices(vertices, coords);
    BaModelData_PolySet poly_set(1, 0);
    poly_set.addTexturedPolygon(polygon);
    poly_set.splitPolygons(c.max);
    std::string pieces;
    for (int i = 0; i < poly_set.texturedPolygons().count(); ++i) {
      const BaModelData_PolyList::Polygon piece = poly_set.texturedPolygons()[i];
      for (std::size_t k = 0; k < piece.vertices.size(); ++k) {
        EXPECT_EQ(piece.t_coords[k].u, static_cast<float>(piece.vertices[k]));
        pieces += (k == 0 ? "" : " ") + std::to_string(piece.vertices[k]);
      }
      pieces += ";";
    }
    EXPECT_EQ(pieces, c.pieces);
  }
}

TEST(BaModelData_PolySet, DropsPiecesWithoutAFace) {
  BaModelData_PolySet poly_set(1, 0);  // the first three corners lie on a line
  poly_set.addPolygon(Scanned<BaPolygon>("1 1 4 0 0 0 -1 1 0 0 -1 2 0 0 -1 2 1 0 -1"));
  poly_set.splitPolygons(3);
  ASSERT_EQ(poly_set.polygons().count(), 1);
  EXPECT_EQ(poly_set.polygons()[0].vertices[1], 2);
}

TEST(BaModelData_TMeshTriIter, WindingAlternates) {
  const int strip[] = {10, 11, 12, 13, 14};
  BaModelData_TMeshTriIter iter(strip);
  std::string triangles;
  int triangle[3];
  while (!iter.atEnd()) {
    iter.getNextTri(&triangle);
    for (const int vertex : triangle) triangles += std::to_string(vertex) + " ";
  }
  EXPECT_EQ(triangles, "10 11 12 12 11 13 12 13 14 ");
  EXPECT_DEATH(iter.getNextTri(&triangle), "!atEnd\\(\\)");
}

}  // namespace
