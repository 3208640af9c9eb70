// Where texture names find their files, and what pictures are called in the scene.
#include "picture.h"

#include <gtest/gtest.h>

#include "runprogram.h"

namespace {

TEST(Picture, IsFoundByTheNamesThatPeopleWrite) {
  const TestFolder folder;
  for (const char* name : {"skin.png", "maps/skin two.png", "odd\\name.png", "maps/ü.png"}) {
    folder.write(name, "x");
  }
  const std::string absolute = folder.path("skin.png");
  const struct {
    std::string name;
    std::string found;  // relative to the folder; empty for none
  } cases[] = {
      {"skin.png", "skin.png"},
      {"maps/skin two.png", "maps/skin two.png"},
      {"maps\\skin two.png", "maps/skin two.png"},
      {"maps/ü.png", "maps/ü.png"},
      {absolute, "skin.png"},
      {"C:\\shots\\04\\skin.png", "skin.png"},
      {"c:/shots/skin.png", "skin.png"},
      {"..\\elsewhere\\skin.png", "skin.png"},
      {"odd\\name.png", "odd\\name.png"},
      {"/no/such/skin.png", ""},
      {"other/skin.png", ""},
      {"maps", ""},
      {"", ""},
  };
  for (const auto& c : cases) {
    const BtStr found = FindPicture(folder.path().c_str(), c.name.c_str());
    if (c.found.empty()) {
      EXPECT_TRUE(found.isNull()) << c.name;
    } else {
      ASSERT_FALSE(found.isNull()) << c.name;
      EXPECT_TRUE(std::filesystem::equivalent(std::string(found.view()), folder.path(c.found)));
    }
  }
}

TEST(Picture, NamesDifferInTheirLastComponent) {
  PictureNames names;
  const char* const cases[][2] = {
      {"a/skin.png", "a/skin.png"},
      {"b/skin.png", "b/skin_2.png"},
      {"c/Skin.PNG", "c/Skin_3.PNG"},
      {"skin_2.png", "skin_2_2.png"},
      {"noext", "noext"},
      {"d.d/noext", "d.d/noext_2"},
      {"x\\skin.png", "x\\skin_4.png"},
      {".hidden", ".hidden"},
  };
  for (const auto& c : cases) EXPECT_EQ(names.unique(c[0]), c[1]);
}

}  // namespace
