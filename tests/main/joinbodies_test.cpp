// Which points of different bodies become one.
#include <numeric>

#include "Fbx/kfbxdeformer.h"
#include "builtscene.h"
#include "support/documenterrors.h"

namespace {

// Two quads side by side, each of a body, that share the edge at x = 1: corners 2 and 3 of the one
// lie on 1 and 4 of the other, of which 1 may be moved along y.
std::string TwoQuads(const std::string& effects_a, const std::string& effects_b, double shift) {
  const auto body = [](const std::string& name, const char* x, const std::string& parent,
                       const std::string& y, const std::string& effects) {
    return "BODY {\nNAME: " + name + "\nCOORDINATE_SYSTEM {\nTRANSLATION: " + x +
           " 0 0\nROTATION: 0 0 0 X Y Z\n}\nPARENT_NAME: " + parent +
           "\n}\nVERTICES {\nNAME: " + name + "_v\nCOORDINATES {\n0 " + y +
           " 0\n1 0 0\n1 1 0\n0 1 0\n}\nEFFECTS {\n" + effects + "}\n}\nGEOMETRY {\nBODY: " + name +
           "\nVERTICES: " + name +
           "_v\nMATERIAL_GROUP {\nMATERIAL: m\nPOLYGONS {\n1 2 3 4\n}\n}\n}\n";
  };
  return kDocumentHeader +
         "MATERIAL {\nNAME: m\n}\nSLIDER_GROUP {\nNAME: face\nSLIDERS {\nsmile\n}\n}\n" +
         body("a", "0", "GLOBAL", "0", effects_a) +
         body("b", "1", "a", std::to_string(shift), effects_b);
}

std::string Flex(const std::string& body, const std::string& weights) {
  return "FLEX {\nBODY: " + body + "\nWEIGHTS {\n" + weights + "\n}\n}\n";
}

std::string Smile(const std::string& vectors) {
  return "BLEND {\nSLIDER_GROUP: face\nSLIDER_NAME: smile\nVECTORS {\n" + vectors + "\n}\n}\n";
}

double SumOfWeights(const KFbxMesh& mesh) {
  double sum = 0;
  for (int i = 0; i < mesh.GetDeformerCount(); ++i) {
    const auto* skin = dynamic_cast<const KFbxSkin*>(mesh.GetDeformer(i));
    for (int k = 0; skin != nullptr && k < skin->GetClusterCount(); ++k) {
      const auto& weights = skin->GetCluster(k)->GetControlPointWeights();
      sum = std::accumulate(weights.begin(), weights.end(), sum);
    }
  }
  return sum;
}

TEST(JoinedBodies, SharePointsThatAlwaysCoincide) {
  const std::string a = Flex("b", "0.5 2\n0.5 3");
  const std::string b = Flex("a", "0.5 1\n0.5 4");
  const struct {
    const char* what;
    std::string effects_a;
    std::string effects_b;
    int points;
    double shift = 0;
  } cases[] = {
      {"each follows its own body", "", "", 8},
      {"both follow both", a, b, 6},
      {"one corner does", Flex("b", "0.5 2"), b, 7},
      {"what others leave of 1", Flex("b", "0.9 2\n0.9 3"), Flex("a", "0.1 1\n0.1 4"), 6},
      {"what is left is nothing", Flex("b", "0.999995 2\n0.999995 3"), "", 6},
      {"other weights", Flex("b", "0.5 2\n0.501 3"), b, 7},
      {"one slider", a + Smile("0 0 1 2\n0 0 1 3"), b + Smile("0 0 1 1\n0 0 1 4"), 6},
      {"a slider for one of them", a + Smile("0 0 1 2\n0 0 1 3"), b + Smile("0 0 1 1"), 7},
      {"a slider to another place", a + Smile("0 0 1 2\n0 0 1 3"), b + Smile("0 0 1 1\n0 0 2 4"),
       7},
      {"no more than rounded apart", a, b, 6, 1e-5},
      {"apart", a, b, 7, 1e-4},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const std::string text = TwoQuads(c.effects_a, c.effects_b, c.shift);
    const BuiltScene built(text, kEmptyDof);
    KFbxMesh& mesh = *built.node("a_mesh")->GetMesh();
    EXPECT_EQ(mesh.GetControlPointsCount(), c.points);
    EXPECT_EQ(mesh.Complete(1), nullptr);
    EXPECT_NEAR(SumOfWeights(mesh), c.points, 1e-5);
    if (c.points == 6) {
      EXPECT_EQ(mesh.GetPolygonVertices(), (std::vector<std::int32_t>{0, 1, 2, -4, 1, 4, 5, -3}));
      EXPECT_EQ(mesh.GetControlPoints()[4], 0.0);  // the first body's
    }
    const BuiltScene apart(text, kEmptyDof, true);
    EXPECT_EQ(apart.mesh("b_mesh").GetControlPointsCount(), 4);
  }
}

}  // namespace
