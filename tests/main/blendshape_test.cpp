// Blend shapes of a scene: which sliders a mesh has, and in which order.
#include <array>
#include <tuple>

#include "Fbx/kfbxdeformer.h"
#include "builtscene.h"
#include "support/documenterrors.h"

namespace {

std::string Group(const std::string& name, const std::string& sliders) {
  return "SLIDER_GROUP {\nNAME: " + name + "\nSLIDERS {\n" + sliders + "\n}\n}\n";
}

std::string Blend(const std::string& group, const std::string& slider, int x) {
  return "BLEND {\nSLIDER_GROUP: " + group + "\nSLIDER_NAME: " + slider + "\nVECTORS {\n" +
         std::to_string(x) + " 0 0 1\n}\n}\n";
}

// "group slider=x slider=x;" for each deformer, with the offset of the first point.
std::string ShapesOf(const KFbxMesh& mesh) {
  std::ostringstream text;
  for (int i = 0; i < mesh.GetDeformerCount(); ++i) {
    const auto* shape = dynamic_cast<const KFbxBlendShape*>(mesh.GetDeformer(i));
    if (shape == nullptr) continue;
    text << shape->GetName();
    for (int k = 0; k < shape->GetBlendShapeChannelCount(); ++k) {
      const KFbxBlendShapeChannel* channel = shape->GetBlendShapeChannel(k);
      text << ' ' << channel->GetName() << '=' << channel->GetTargetShape()->GetOffsets().at(0);
    }
    text << ';';
  }
  return text.str();
}

TEST(BlendShapes, AreThoseOfTheMeshInTheDocumentsOrder) {
  const std::string text =
      kDocumentHeader + DocumentBody("a", "GLOBAL") + DocumentBody("b", "a") +
      "MATERIAL {\nNAME: m\n}\n" + Group("face", "smile\nfrown\nblink") + Group("idle", "smile") +
      Group("hand", "frown\nfist") +
      DocumentShape("a", "m",
                    Blend("hand", "frown", 1) + Blend("face", "blink", 2) +
                        Blend("face", "smile", 3) + Blend("face", "blink", 4)) +
      DocumentShape("b", "m", Blend("face", "frown", 5) + Blend("face", "smile", 6));
  const BuiltScene apart(text, kEmptyDof, true, 2.0F);
  EXPECT_EQ(ShapesOf(apart.mesh("a_mesh")), "face smile=6 blink=12;hand frown=2;");
  EXPECT_EQ(ShapesOf(apart.mesh("b_mesh")), "face smile=12 frown=10;");
  const BuiltScene whole(text, kEmptyDof, false);
  EXPECT_EQ(ShapesOf(whole.mesh("a_mesh")), "face smile=3 frown=5 blink=6;hand frown=1;");
}

// The offsets of a vertex turn with the body that it is defined on.
TEST(BlendShapes, TurnWithTheirBody) {
  // A quarter turn about Z brings x to y and y to -x.
  const std::string text =
      kDocumentHeader + DocumentBody("a", "GLOBAL") +
      "BODY {\nNAME: b\nCOORDINATE_SYSTEM {\nTRANSLATION: 1 2 3\n"
      "ROTATION: 0 0 1.57079633 X Y Z\n}\nPARENT_NAME: a\n}\n"
      "MATERIAL {\nNAME: m\n}\n" +
      Group("face", "smile") + DocumentShape("a", "m") +
      DocumentShape("b", "m",
                    "BLEND {\nSLIDER_GROUP: face\nSLIDER_NAME: smile\nVECTORS {\n1 2 3 1\n}\n}\n");
  for (const auto& [apart, mesh, expected] :
       {std::tuple{true, "b_mesh", std::array{2., 4., 6.}}, {false, "a_mesh", {-4., 2., 6.}}}) {
    const BuiltScene built(text, kEmptyDof, apart, 2.0F);
    const auto* shape = dynamic_cast<const KFbxBlendShape*>(
        built.mesh(mesh).GetDeformer(built.mesh(mesh).GetDeformerCount() - 1));
    ASSERT_NE(shape, nullptr);
    const auto& offsets = shape->GetBlendShapeChannel(0)->GetTargetShape()->GetOffsets();
    ASSERT_EQ(offsets.size(), 3U);
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(offsets[i], expected.at(i), 1e-5) << mesh << i;
  }
}

}  // namespace
