#include "babodymap.h"

#include <gtest/gtest.h>

#include <sstream>

#include "Ba/modeltexts.h"
#include "Bt/deathcases.h"
#include "babodymapattribute.h"

namespace {

std::unique_ptr<BaUnlockedBodyMap> Scan(const std::string& text) {
  std::istringstream is(text);
  return BaUnlockedBodyMap::scanNewFrom(is);
}

TEST(BaBodyMap, OrderLineGivesTheOrderOfTheRotations) {
  const struct {
    const char* order;
    BtArray<int> axes;
  } cases[] = {{"4 5 6 1 2 3", {1, 2, 3}},
               {"1 2 3 6 4 5", {3, 1, 2}},
               {"5 1 4 2 6 3", {2, 1, 3}},
               {"6 6 3 4 2 1", {3, 3, 1}}};  // repeated ids are kept as they stand
  for (const auto& c : cases) {
    const auto body_map = Scan("1 " + std::string(c.order) + " 1 2 3 4 5 6");
    ASSERT_NE(body_map, nullptr);
    BtArray<int> order(3);
    BtArray<int> sequence(3);
    body_map->getRotOrder(&order);
    body_map->getAngleSequence(&sequence);
    EXPECT_EQ(order, c.axes) << c.order;
    EXPECT_EQ(sequence, c.axes) << c.order;
    std::istringstream ids(c.order);
    for (int i = 0, id = 0; ids >> id; ++i) EXPECT_EQ(body_map->transformId(i), id) << c.order;
  }
}

TEST(BaBodyMap, EditsKeepTheOrder) {
  BaUnlockedBodyMap body_map(3, {5, 4, 1}, {21, 0, 0, 24, 25, 0});
  EXPECT_EQ(body_map.xTransSysVarId() * 10000 + body_map.xRotSysVarId() * 100 +
                body_map.getTransform(BtAxis_t::Y, kBaRotationKind).sysVarId(),
            212425);
  EXPECT_FALSE(body_map.zTranslation().exists());
  EXPECT_EQ(body_map.zTranslation().id(), 3);

  // An id that is there is replaced in place, another one goes last.
  body_map.setTransform(4, *CreateTransform(4, 2.0F, {8, 9}, {0.5F, -1.0F}));
  body_map.setTransform(6, *CreateTransform(6, 9));
  BtList<Ba_Transform*> driven;
  body_map.getSysVarTransforms(&driven, 9);
  ASSERT_EQ(driven.count(), 2);
  EXPECT_EQ(driven[0], &body_map.transforms()[1]);
  EXPECT_EQ(driven[1], &body_map.transforms()[3]);
  EXPECT_TRUE(body_map.usesSysVarId(8));
  EXPECT_FALSE(body_map.usesSysVarId(24));
}

TEST(BaBodyMap, VariablesAreRenumberedButZeroStaysZero) {
  const auto body_map = Scan("1 1 2 3 4 5 6 0 1 -3 0 2 1.5 1 2.5 2 0 1");
  body_map->renumberSysVarIds({7, 12, 11});
  EXPECT_EQ(Print(*body_map), "1\n1 2 3 4 5 6\n0\n12\n-3 0 11 1.5 12 2.5 \n11\n0\n12\n");
}

TEST(BaBodyMap, AttributesReadAndWriteFrames) {
  const auto body_map = Scan("7 1 2 3 4 5 6 2 0 -1 0.5 -3 0.25 1 2 3 -1 0 3");
  BtDArray<float> frame = {10, 20, 30};
  const struct {
    const char* name;
    bool is_numeric;
    float value;
  } cases[] = {{"body7.xTranslation", true, 20},   {"body7.yTranslation", false, 0},
               {"body7.zTranslation", false, 0.5}, {"body7.xRotation", false, -9.75},
               {"body7.yRotation", false, 0},      {"body7.zRotation", true, 30}};
  for (int id = 1; id <= kBaTransformCount; ++id) {
    const auto& row = cases[id - 1];
    const BaBodyMapAttribute attribute(*body_map, id);
    EXPECT_EQ(attribute.name(), row.name);
    EXPECT_EQ(attribute.hasNumericType(), row.is_numeric) << row.name;
    EXPECT_EQ(attribute.getNumericValue(frame), row.value) << row.name;
    if (row.is_numeric) attribute.setNumericValue(&frame, static_cast<float>(id));
  }
  EXPECT_EQ(frame, (BtDArray<float>{10, 1, 6}));
}

TEST(BaBodyMap, ListsTakeTransformsOfAType) {
  BaUnlockedTransformList list = {{4, 1}, {1, 2}, {6, 3}, {3, 4}};
  InsertAfter(&list, Ba_Transform::Translation, {2, 5});
  InsertAfter(&list, Ba_Transform::Rotation, {5, 6});
  std::string ids;
  for (const BaUnlockedTransform& transform : list) ids += std::to_string(transform.id());
  EXPECT_EQ(ids, "416532");
  list = {{4, 1}, {6, 3}};
  const BaUnlockedTransform missing = GetNonExistingTF(list, Ba_Transform::Rotation);
  EXPECT_FALSE(missing.exists());
  EXPECT_EQ(missing.id(), 5);
  EXPECT_EQ(GetNonExistingTF(list, Ba_Transform::CombTranslation).id(), 1);
}

// A map of transforms, an id a digit, that one variable drives.
void CreateMap(int body_id, const std::string& order, int sysvar_id) {
  BtList<int> ids;
  BtList<int> sysvar_ids;
  for (int i = 0; i < kBaTransformCount; ++i) sysvar_ids.append(sysvar_id);
  for (const char id : order) ids.append(id - '0');
  BaUnlockedBodyMap(body_id, ids, sysvar_ids);
}

TEST(BaBodyMapDeathTest, MisuseAborts) {
  static BtArray<int> three(3);
  static BtArray<int> four(4);
  static BtDArray<float> frame(1);
  static BtList<Ba_Transform*> driven;
  static BaUnlockedTransformList translations = {{1, 1}, {2, 1}, {3, 1}};
  static const BaUnlockedTransform z_translation(3, 1);
  static const BaUnlockedTransform x_rotation(4, 1);
  static const auto undriven = Scan("1 1 2 3 4 5 6 0 0 0 0 0 0");
  ExpectDeaths({
      {ASSERTION("body_id>=1"), [] { CreateMap(0, "1", 1); }},
      {ASSERTION("ValidOrder(order)"), [] { CreateMap(1, "17", 1); }},
      {ASSERTION("ValidOrder(order)"), [] { CreateMap(1, "22", 1); }},
      {ASSERTION("sysvar_ids[order_i - 1] >= 0"), [] { CreateMap(1, "2", -1); }},
      {ASSERTION("id>=1 && id<=6"), [] { (void)CreateTransform(7, 1); }},
      {ASSERTION("transform.id()==id"), [] { BaUnlockedBodyMap().setTransform(2, z_translation); }},
      {ASSERTION("var_id>0"), [] { BaUnlockedBodyMap().getSysVarTransforms(&driven, 0); }},
      {ASSERTION("order_ptr->size()==3"), [] { BaUnlockedBodyMap().getRotOrder(&four); }},
      {ASSERTION("x==3"), [] { Scan("1 4 4 4 4 5 6 1 2 3 4 5 6")->getRotOrder(&three); }},
      {ASSERTION("seqnum==3"), [] { BaUnlockedBodyMap().getAngleSequence(&three); }},
      {ASSERTION("hasNumericType()"),
       [] { BaBodyMapAttribute(*undriven, 1).setNumericValue(&frame, 1); }},
      {ASSERTION("!tf->exists()"),
       [] { (void)GetNonExistingTF(translations, Ba_Transform::Translation); }},
      {ASSERTION("inserted"),
       [] { InsertAfter(&translations, Ba_Transform::Rotation, x_rotation); }},
      {ASSERTION("transformation_order.count() == 6"), [] { Print(BaUnlockedBodyMap()); }},
      {ASSERTION("transformation_order.contains(id)"),
       [] { Print(*Scan("1 1 2 3 4 5 5 1 2 3 4 5 6")); }},
  });
}

}  // namespace
