// Motion on scenes: what takes hold, and what Assimp shows of them. Whole characters in motion are
// compared with the formula in the tests of readers.
#include <assimp/config.h>
#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <map>
#include <variant>

#include "Ba/bamotion.h"
#include "Fbx/kfbxanimstack.h"
#include "Fbx/kfbxexporter.h"
#include "animation.h"
#include "builtscene.h"

namespace {

using Numbers = std::vector<float>;

// A hip that is turned at rest, with a hand whose translations come between and behind its
// rotations.
const std::string kModel = kHeader + BodyAt(1, "hip", 0, "0 1 0 -1 0 0 0 0 1 2 0 0") +
                           BodyAt(2, "hand", 1, "1 0 0 0 1 0 0 0 1 0 5 0");
const std::string kDof =
    "Zov Graphic Mapping File\nv1.0\n7\n2\n"
    "1\n1 2 3 6 5 4\n1\n-2 0.5 1 2\n0\n4\n-1 30\n0\n"
    "2\n6 1 5 2 4 3\n-1 3\n0\n0\n0\n0\n-3 0.25 4 -1 7 0.5\n"
    "MATERIAL_TEXTURE_INDEX_MAPS {\n  1 7\n}\n";

BaMotion MotionOf(const std::map<int, Numbers>& values, double rate = 30, double start = 0) {
  BaMotion motion;
  std::vector<double> times;
  for (std::size_t i = 0; i < values.begin()->second.size(); ++i) {
    times.push_back(start + static_cast<double>(i) / rate);
  }
  motion.setTimes(times, rate);
  for (const auto& [id, list] : values) motion.setValues(id, list);
  return motion;
}

KFbxAnimStack* Take(const BuiltScene& built, const BaMotion& motion, float scale = 1) {
  EXPECT_TRUE(AddTake(built.scene, built.model_data, built.mapping, motion, "take", {}, scale));
  return built.scene->GetAnimStack(built.scene->GetAnimStackCount() - 1);
}

// The values of a node's curves, none where a property has no curves.
std::vector<Numbers> Curves(const KFbxAnimStack& take, const KFbxNode* node,
                            KFbxAnimCurveNode::EProperty property) {
  std::vector<Numbers> curves;
  for (const KFbxAnimCurveNode* entry : take.GetCurveNodes()) {
    if (entry->GetNode() != node || entry->GetProperty() != property) continue;
    for (int i = 0; i < 3; ++i) {
      const auto values = entry->GetCurve(i)->GetKeyValues();
      curves.emplace_back(values.begin(), values.end());
    }
  }
  return curves;
}

TEST(Animation, MovesBodiesInTheirRestAxes) {
  const BuiltScene built(kModel, kDof, false, 2.0F);
  // Variable 1 is shared by two translations; 4 turns the hip on and on, and the hand backwards.
  const KFbxAnimStack& take =
      *Take(built, MotionOf({{1, {0, 1, 2}}, {4, {0, 350, 700}}}, 30, 0.5), 2.0F);
  EXPECT_EQ(take.LocalStart.Get(), KTIME_ONE_SECOND / 2);
  const KFbxNode* hip = built.node("hip");
  EXPECT_EQ(Curves(take, hip, KFbxAnimCurveNode::eROTATION),
            (std::vector<Numbers>{{0, 350, 700}, {30}, {0}}));
  // The axes of the hip are turned by a quarter: its x leads along y, its y along -x.
  const auto moved = Curves(take, hip, KFbxAnimCurveNode::eTRANSLATION);
  ASSERT_EQ(moved.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    const auto value = static_cast<float>(i);
    EXPECT_NEAR(moved[0].at(i), 2 * (2 - (0.5F + 2 * value)), 1e-5);
    EXPECT_NEAR(moved[1].at(i), 2 * value, 1e-5);
  }
  // The constant of the hand goes along an axis that a rotation has turned before.
  const auto hand = Curves(take, built.node("hand"), KFbxAnimCurveNode::eTRANSLATION);
  ASSERT_EQ(hand.size(), 3U);
  const double angle = (0.25 - 350) * BaVariableUnits::kRadiansPerDegree;
  EXPECT_NEAR(hand[0].at(1), 2 * 3 * std::cos(angle), 1e-5);
  EXPECT_NEAR(hand[1].at(1), 2 * (5 + 3 * std::sin(angle)), 1e-5);
}

TEST(Animation, TellsWhatDrivesABody) {
  const BuiltScene built(kModel, kDof);
  AddUserProperties(built.scene, built.model_data, built.mapping);
  std::map<std::string, std::string> texts;
  for (const char* name : {"hip", "hand"}) {
    for (const KFbxUserProperty& property : built.node(name)->GetUserProperties()) {
      const auto* text = std::get_if<BtStr>(&property.value);
      const std::string value = text != nullptr
                                    ? std::string(text->view())
                                    : std::to_string(std::get<std::int32_t>(property.value));
      texts[std::string(name) + " " + std::string(property.name.view())] = value;
    }
  }
  EXPECT_EQ(texts, (std::map<std::string, std::string>{
                       {"hip bodyId", "1"},
                       {"hip transforms",
                        "xTranslation yTranslation zTranslation zRotation yRotation xRotation"},
                       {"hip xTranslation", "v1"},
                       {"hip yTranslation", "2 * v1 + 0.5"},
                       {"hip xRotation", "v4"},
                       {"hip yRotation", "30"},
                       {"hand bodyId", "2"},
                       {"hand transforms",
                        "zRotation xTranslation yRotation yTranslation xRotation zTranslation"},
                       {"hand xTranslation", "3"},
                       {"hand zRotation", "-v4 + 0.5 * v7 + 0.25"}}));
}

std::string Saved(KFbxScene* scene) {
  std::string bytes;
  KFbxExporter* exporter = KFbxExporter::Create(scene, "");
  EXPECT_TRUE(exporter->Initialize("memory", 0) && exporter->Export(scene, &bytes));
  exporter->Destroy();
  return bytes;
}

// Where bodies are then is looked at in the tests of other readers.
TEST(Animation, IsPlayedByAssimp) {
  for (const double rate :
       {23.976, 24.0, 25.0, 29.97, 30.0, 50.0, 59.94, 60.0, 100.0, 119.88, 120.0, 240.0}) {
    SCOPED_TRACE(rate);
    const BuiltScene built(kModel, kDof, false, 2.0F);
    Take(built, MotionOf({{1, {0, 3, -4}}, {4, {0, 50, 100}}}, rate), 2.0F);
    AddUserProperties(built.scene, built.model_data, built.mapping);
    const std::string bytes = Saved(built.scene);
    Assimp::Importer importer;
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    const aiScene* scene = importer.ReadFileFromMemory(bytes.data(), bytes.size(), 0, "fbx");
    ASSERT_NE(scene, nullptr) << importer.GetErrorString();
    ASSERT_EQ(scene->mNumAnimations, 1U);
    const aiAnimation& animation = *scene->mAnimations[0];
    EXPECT_STREQ(animation.mName.C_Str(), "take");
    EXPECT_NEAR(animation.mTicksPerSecond, rate, 1e-4);
    ASSERT_EQ(animation.mNumChannels, 2U);
    for (unsigned c = 0; c < 2; ++c) {
      const aiNodeAnim& channel = *animation.mChannels[c];
      EXPECT_NE(built.node(channel.mNodeName.C_Str()), nullptr);
      EXPECT_EQ(std::max(channel.mNumRotationKeys, channel.mNumPositionKeys), 3U);
    }
    aiString driver;
    std::int32_t id = 0;
    const aiMetadata* metadata = scene->mRootNode->FindNode("hand")->mMetaData;
    EXPECT_TRUE(metadata->Get("zRotation", driver) && metadata->Get("bodyId", id));
    EXPECT_STREQ(driver.C_Str(), "-v4 + 0.5 * v7 + 0.25");
    EXPECT_EQ(id, 2);
  }
}

}  // namespace
