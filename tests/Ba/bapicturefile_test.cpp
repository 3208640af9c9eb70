// Where the names of textures lead, and what they become in other folders.
#include "bapicturefile.h"

#include "Bt/workingfolder.h"

namespace {

using BaPictureFile = WorkingFolder;

TEST_F(BaPictureFile, IsFoundByTheNamesThatPeopleWrite) {
  for (const char* name : {"skin.png", "maps/skin two.png", "odd\\name.png"})
    _folder.write(name, "x");
  const std::pair<std::string, const char*> cases[] = {
      {"maps/skin two.png", "maps/skin two.png"},
      {"maps\\skin two.png", "maps/skin two.png"},
      {"C:\\shots\\04\\skin.png", "skin.png"},
      {"c:/shots/skin.png", "skin.png"},
      {"..\\elsewhere\\skin.png", "skin.png"},
      {"odd\\name.png", "odd\\name.png"},
      {"/no/such/skin.png", nullptr},
      {"other/skin.png", nullptr},
      {"maps", nullptr},
      {"", nullptr},
  };
  for (const auto& [name, file] : cases) {
    const BtStr found = BaFindPicture(_folder.path().c_str(), name.c_str());
    ASSERT_EQ(found.isNull(), file == nullptr) << name;
    if (file == nullptr) continue;
    EXPECT_TRUE(std::filesystem::equivalent(std::string(found.view()), _folder.path(file))) << name;
  }
}

// What stands in `to` for a name in `from`. The folders "link" and "sub/link" are "far/off/real".
TEST_F(BaPictureFile, IsFoundFromOtherFolders) {
  for (const char* name : {"sub/skin.png", "sub/maps/skin.png", "far/off/skin.png"})
    _folder.write(name, "x");
  std::filesystem::create_directory("far/off/real");
  std::filesystem::create_directory_symlink("far/off/real", "link");
  std::filesystem::create_directory_symlink("../far/off/real", "sub/link");
  std::filesystem::create_symlink("../far/off/skin.png", "sub/alias.png");
  const struct {
    const char *from, *name, *to, *seen;
  } cases[] = {
      {"sub", "skin.png", ".", "sub/skin.png"},
      {"sub", "skin.png", "link", "../../../sub/skin.png"},
      {"sub/link", "../skin.png", "sub", "../far/off/skin.png"},
      {"sub", "alias.png", ".", "sub/alias.png"},
      {"sub", "/skin.png", ".", "/skin.png"},
      {"sub", "C:\\shots\\skin.png", "other", "../sub/skin.png"},
      {"sub", "shots\\skin.png", "other", "../sub/skin.png"},
      {"sub", "maps\\skin.png", "other", "../sub/maps/skin.png"},
      {"sub", "maps\\skin.png", "sub", "maps\\skin.png"},
      {"sub", "no.png", "other", "../sub/no.png"},
      {"sub/link", "../no.png", ".", "far/off/no.png"},
      {"sub", "C:\\shots\\no.png", ".", "C:\\shots\\no.png"},
      {"sub", "\\\\server\\no.png", ".", "\\\\server\\no.png"},
      {"sub", "maps\\no.png", ".", "sub/maps\\no.png"},
      {"sub", "", ".", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(BaPictureSeenFrom(c.to, c.name, c.from), c.seen)
        << c.name << " of " << c.from << " in " << c.to;
  }
}

}  // namespace
