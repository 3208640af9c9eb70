// Pictures: what they are called in a scene, and which texture of a converted file shows which.
#include <gtest/gtest.h>

#include <iomanip>
#include <map>
#include <set>
#include <sstream>
#include <tuple>

#include "Fbx/fbxfamily.h"
#include "builtscene.h"
#include "picture.h"
#include "runprogram.h"
#include "support/printed.h"

namespace {

TEST(Picture, NamesDifferInTheirLastComponent) {
  PictureNames names;
  const std::pair<const char*, const char*> cases[] = {
      {"a/skin.png", "a/skin.png"},
      {"b/skin.png", "b/skin_2.png"},
      {"c/Skin.PNG", "c/Skin_3.PNG"},
      {"skin_2.png", "skin_2_2.png"},
      {"noext", "noext"},
      {"d.d/noext", "d.d/noext_2"},
      {"x\\skin.png", "x\\skin_4.png"},
      {".hidden", ".hidden"},
  };
  for (const auto& [name, unique] : cases) EXPECT_EQ(names.unique(name), unique);
}

// What a texture shows: file name, relative name, and content, empty where nothing is embedded.
using Shown = std::tuple<std::string, std::string, std::string>;

// A triangle for each material.
std::string ModelWith(const std::vector<std::string>& pictures) {
  std::ostringstream text;
  text << kHeader << BodyAt(1, "a", 0);
  int id = 0;
  for (const std::string& name : pictures) {
    ++id;
    text << "M " << id << " coat" << id << "\n100 1 " << std::quoted(name) << " -1\n0\n";
    text << "P 1 " << id << " 3 0 0 0 0 0 -1 1 0 1 0 0 -1 0 1 0 1 " << id << " -1\n";
  }
  return text.str();
}

// What each texture shows, which must agree with the names that the texture has itself.
std::vector<Shown> ReadTextures(const Family& family, const FbxFile& file) {
  const FbxRecord& objects = file.main.child("Objects");
  const auto parents = family.connections(file);
  std::map<std::string, Shown> shown_by;
  for (const FbxRecord* video : objects.all("Video")) {
    const auto contents = video->all("Content");
    const bool embedded = !contents.empty() && !contents.front()->values.empty();
    const auto [first, last] = parents.equal_range(family.key(*video));
    for (auto pair = first; pair != last; ++pair) {
      shown_by[pair->second] = {video->child("Filename").text(),
                                video->child("RelativeFilename").text(),
                                embedded ? contents.front()->text() : ""};
    }
  }
  std::vector<Shown> textures;
  for (const FbxRecord* texture : objects.all("Texture")) {
    textures.push_back(shown_by[family.key(*texture)]);
    EXPECT_EQ(texture->child("FileName").text(), std::get<0>(textures.back()));
    EXPECT_EQ(texture->child("RelativeFilename").text(), std::get<1>(textures.back()));
  }
  return textures;
}

TEST(Media, EveryPictureIsEmbeddedOnceAndFound) {
  const TestFolder folder;
  const std::pair<const char*, std::string> files[] = {
      {"skin.png", "skin"},    {"a/skin.png", "skin of a"},     {"b/skin.png", "skin of b"},
      {"red coat.png", "red"}, {"maps/f\xC3\xBC.png", "utf-8"}, {"maps/\xFC.png", "latin-1"}};
  for (const auto& [name, content] : files) folder.write(name, content);
  const std::string absolute = folder.path("skin.png");
  const Shown skin = {"skin.png", "skin.png", "skin"};

  const struct {
    const char* what;
    std::vector<std::string> names;  // in the model, one for each material
    std::vector<Shown> shown;        // one for each material
    std::string err = "";
    std::string output = "m.fbx";
  } cases[] = {
      {"shared", {"skin.png", "skin.png"}, {skin, skin}},
      {"shared under several names",
       {"skin.png", "./skin.png", "a/../skin.png", absolute, "C:\\shots\\skin.png"},
       std::vector<Shown>(5, skin)},
      {"one base name in several folders",
       {"a/skin.png", "b/skin.png", "skin.png"},
       {{"a/skin.png", "a/skin.png", "skin of a"},
        {"b/skin_2.png", "b/skin_2.png", "skin of b"},
        {"skin_3.png", "skin_3.png", "skin"}}},
      {"an absolute path", {absolute}, {{absolute, "skin.png", "skin"}}},
      {"a Windows path", {"C:\\shots\\skin.png"}, {{"C:\\shots\\skin.png", "skin.png", "skin"}}},
      {"a blank and UTF-8",
       {"red coat.png", "maps/f\xC3\xBC.png"},
       {{"red coat.png", "red coat.png", "red"},
        {"maps/f\xC3\xBC.png", "maps/f\xC3\xBC.png", "utf-8"}}},
      {"Latin-1 becomes UTF-8",
       {"maps/\xFC.png"},
       {{"maps/\xC3\xBC.png", "maps/\xC3\xBC.png", "latin-1"}}},
      {"missing",
       {"no.png", "skin.png"},
       {{"no.png", "no.png", ""}, skin},
       PrintedWarning("Texture file 'no.png' of material \"coat1\" cannot be read in '.'.  It|"
                      "is not embedded.")},
      {"from another folder",
       {"a/skin.png", "b/skin.png", absolute},
       {{"a/skin.png", "../../a/skin.png", "skin of a"},
        {"b/skin_2.png", "../../b/skin_2.png", "skin of b"},
        {folder.path("skin_3.png"), "../../skin_3.png", "skin"}},
       "",
       "out/now/m.fbx"},
  };
  std::filesystem::create_directories(folder.path("out/now"));
  folder.write("m.dof", kEmptyDof);
  for (const auto& c : cases) {
    folder.write("m.mdl", ModelWith(c.names));
    for (const Family& family : kFamilies) {
      const char* const version = family.has_ids ? "2011" : "2010";
      SCOPED_TRACE(std::string(c.what) + " in " + version);
      const RunResult run =
          RunKestrix({"-mb_version", version, "m.mdl", "m.dof", c.output}, folder.path());
      EXPECT_EQ(run.status, 0);
      EXPECT_EQ(run.err, c.err);
      const FbxFile file = ParseFbx(folder.read(c.output));
      ASSERT_EQ(file.fault, "");
      std::set<std::string> pictures;
      for (const Shown& shown : c.shown) pictures.insert(std::get<0>(shown));
      EXPECT_EQ(file.main.child("Objects").all("Video").size(), pictures.size());
      EXPECT_EQ(ReadTextures(family, file), c.shown);
    }
  }
}

}  // namespace
