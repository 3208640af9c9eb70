#include "Bt/btfile.h"

#include <sys/stat.h>
#include <unistd.h>

#include "Bt/btcompfstream.h"
#include "Bt/deathcases.h"
#include "Bt/messages.h"
#include "Bt/workingfolder.h"

namespace {

namespace fs = std::filesystem;

// A working folder with files of several permissions, seen with the rights of an ordinary user.
class BtFileTest : public WorkingFolder {
 protected:
  BtFileTest() {
    fs::create_directory("closed");
    for (const char* const file : {"file", "secret", "fixed", "folder/tool"}) {
      _folder.write(file, "");
    }
    for (const char* const open : {".", "folder", "folder/tool"}) chmod(open, 0777);
    for (const char* const closed : {"closed", "fixed"}) chmod(closed, 0555);
    chmod("secret", 0);
    EXPECT_TRUE(getuid() != 0 || seteuid(65534) == 0);
  }
  ~BtFileTest() override { EXPECT_TRUE(getuid() != 0 || seteuid(0) == 0); }

  const std::string _dir = fs::current_path();
};

template <auto open, auto... overwrite>
bool Opens(const BtStr& file) {
  return open(file, overwrite...) != nullptr;
}

TEST_F(BtFileTest, ChecksAccessAndOpensWithExactMessages) {
  constexpr auto kReadable = BtFileHaveReadAccess;
  constexpr auto kWritable = BtFileHaveWriteAccess;
  constexpr auto kInput = Opens<BtFileOpenInput>;
  constexpr auto kOutput = Opens<BtFileOpenOutput, BtFileOverwrite::Yes>;
  constexpr auto kNew = Opens<BtFileOpenOutput, BtFileOverwrite::No>;
  const struct {
    bool (*check)(const BtStr&);
    std::string file;
    std::string error = "";
  } cases[] = {
      {kReadable, "none", "File does not exist."},
      {kReadable, "folder", "File is a directory."},
      {kReadable, "secret", "Insufficient access to read file.  Check permissions."},
      {kWritable, "fixed", "Insufficient access to write to existing file.  Check permissions."},
      {kWritable, "folder", "File \"folder\" is unwritable."},
      {kWritable, "new"},
      {kWritable, _dir + "/none/new", "Parent directory \"" + _dir + "/none\" does not exist."},
      {kWritable, "closed/new",
       "Insufficient access to create file in \"" + _dir + "/closed\".  Check permissions."},
      {kInput, "secret", "Couldn't open secret"},
      {kOutput, "folder", "folder is a directory."},
      {kOutput, "fixed", "fixed is not writable."},
      {kOutput, "closed/new", "Couldn't create closed/new"},
      {kNew, "new"},
      {kNew, "file", "file already exists."}};
  for (const auto& row : cases) {
    EXPECT_EQ(row.check(row.file.c_str()), row.error.empty()) << row.file;
    EXPECT_EQ(TakeMessages(), row.error) << row.file;
  }
  // Without a working folder only absolute paths can be checked.
  fs::create_directory("gone");
  fs::current_path("gone");
  fs::remove(_dir + "/gone");
  EXPECT_TRUE(BtFileHaveWriteAccess((_dir + "/other").c_str()));
  EXPECT_FALSE(BtFileHaveWriteAccess("other"));
  EXPECT_EQ(TakeMessages(), "Cannot get current working directory in BtFileHaveWriteAccess().\n");
}

TEST_F(BtFileTest, FindsCommandsAndLinks) {
  const BtStr old_path = std::getenv("PATH");
  setenv("PATH", "none:closed:folder", 1);
  EXPECT_EQ(BtFileFindCommand("tool"), "folder/tool");
  EXPECT_EQ(BtFileFindCommand("./folder/tool"), "./folder/tool");
  EXPECT_TRUE(BtFileFindCommand("../file").isNull());
  setenv("PATH", "none:", 1);
  EXPECT_TRUE(BtFileFindCommand("folder").isNull());
  EXPECT_TRUE(BtFileFindCommand("file").isNull());
  fs::current_path("folder");
  EXPECT_EQ(BtFileFindCommand("tool"), "./tool");
  setenv("PATH", old_path, 1);
  BtStr target;
  EXPECT_FALSE(BtFileReadLink("tool", &target));
  EXPECT_EQ(TakeMessages(), "Unable to read link tool");
  EXPECT_TRUE(BtFileProgramPath(&target));
  EXPECT_TRUE(target.view().ends_with("/kestrix_bt_tests")) << target;
}

TEST_F(BtFileTest, NamesFilesFromOtherFolders) {
  fs::create_directory_symlink("folder", "link");
  const struct {
    const char* to;
    std::string name, from, seen;
  } cases[] = {
      {"folder", "../file", "folder", "../file"},   {".", "../file", "folder", "file"},
      {".", "tool", "link", "folder/tool"},         {"link", "tool", "folder", "tool"},
      {"none/a", "tool", "none", "../tool"},        {"folder", "/a/../b", ".", "/a/../b"},
      {"/", "file", ".", _dir.substr(1) + "/file"}, {".", "C:\\a", "folder", "folder/C:\\a"},
  };
  for (const auto& [to, name, from, seen] : cases) {
    EXPECT_EQ(BtFileSeenFrom(to, name.c_str(), from.c_str()), BtStr(seen.c_str()))
        << name << " of " << from << " in " << to;
  }
}

TEST(BtFilePaths, AreTakenApartAndJoined) {
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {nullptr, ".", nullptr}, {"", ".", nullptr},
      {"x", ".", "x"},         {"/x", "/", "x"},
      {"/", "/", ""},          {"a/b/c.x", "a/b", "c.x"},
      {"a/b/", "a/b", "b"},    {"C:\\a\\b.x", ".", "b.x"},
      {"C:\\a\\", ".", "a"},   {"a\\b/c", "a\\b", "c"}};
  for (const auto& [path, directory, base_name] : cases) {
    EXPECT_EQ(BtFileDirectory(path), directory);
    EXPECT_EQ(BtFileBaseName(path), BtStr(base_name));
  }
  EXPECT_EQ(BtFileJoin("a", "b", "x"), "a/b.x");
  EXPECT_EQ(BtFileJoin("/", "b"), "/b");
  EXPECT_EQ(BtFileAbsolutePath("b", "/a"), "/a/b");
  EXPECT_EQ(BtFileAbsolutePath("/b", "/a"), "/b");
}

TEST(BtFileDeathTest, MisuseIsAnAssertion) {
  ExpectAssertions({
      {"path.length()>0", [] { (void)BtFileIsAbsolutePath(""); }},
      {"BtFileIsAbsolutePath(workdir)", [] { (void)BtFileAbsolutePath("a", "b"); }},
      {"path[0]!='\\0'", [] { (void)BtFileAbsolutePath("", "/b"); }},
      {"dir.length()>=1", [] { (void)BtFileJoin("", "a"); }},
      {"BtFileExists(path)", [] { (void)BtFileCanExecute("/no/such"); }},
  });
}

}  // namespace
