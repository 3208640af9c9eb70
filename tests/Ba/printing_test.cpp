// What is printed is the same whatever the stream was set to before.
#include <gtest/gtest.h>

#include <filesystem>
#include <iomanip>
#include <locale>
#include <sstream>

#include "Ba/babodymap.h"
#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"

namespace {

struct GroupedNumbers : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\1"; }
};

template <class Object>
void ExpectSameText(const Object& object) {
  std::ostringstream fresh;
  object.printOn(fresh);
  EXPECT_GT(fresh.str().size(), 2U);
  std::ostringstream used;
  used.imbue(std::locale(std::locale::classic(), new GroupedNumbers));
  used << std::hex << std::showbase << std::showpos << std::uppercase << std::fixed << std::left
       << std::setfill('*') << std::setw(30);
  const std::ios::fmtflags flags = used.flags();
  object.printOn(used);
  EXPECT_EQ(used.str(), fresh.str());
  EXPECT_EQ(used.flags(), flags);
  EXPECT_EQ(used.fill(), '*');
}

template <class Objects>
void ExpectSameTexts(const Objects& objects) {
  for (const auto& object : objects) ExpectSameText(*object);
}

TEST(Printing, DoesNotHeedWhatTheStreamWasSetTo) {
  const std::filesystem::path samples = KESTRIX_SAMPLES;
  for (const char* const name : {"robot.mdl", "robot-v2.mdl"}) {
    BaModel model;
    model.read((samples / name).c_str());
    ExpectSameText(model);
    ExpectSameText(*model.findBody(1));
    ExpectSameTexts(model.materials());
    ExpectSameTexts(model.polygons());
    ExpectSameTexts(model.texturedPolygons());
    BaModelData data;
    data.fillFrom(model, true);
    ExpectSameText(data);
    ExpectSameTexts(data.bodies());
    ExpectSameTexts(data.materials());
    ExpectSameTexts(data.vertexSets());
    ExpectSameTexts(data.geometries());
  }
  BaUnlockedMapping mapping;
  ASSERT_TRUE(mapping.read((samples / "robot.dof").c_str(), true));
  ExpectSameText(mapping);
  ExpectSameTexts(mapping.bodyMaps());
}

}  // namespace
