#include "fbxoutputfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <thread>

#include "Bt/btexcept.h"
#include "testscene.h"

namespace fs = std::filesystem;

namespace {

// More than the file keeps in memory, and a piece that crosses from there.
const std::string kText(3000000, 'k');

bool Write(const std::string& target) {
  FbxOutputFile file;
  if (!file.open(target)) return false;
  file.write("0123", 4);
  file.write(kText.data(), kText.size() / 2);
  file.write(kText.data(), 10);
  file.write(kText.data(), kText.size() - kText.size() / 2 - 10);
  const std::array<std::uint8_t, 2> patched = {'a', 'b'};
  file.patch(1, patched);
  file.patch(file.position() - 2, patched);
  return file.commit();
}

std::string Written() { return "0ab3" + kText.substr(2) + "ab"; }

mode_t ModeOf(const std::string& path) {
  struct stat status {};
  stat(path.c_str(), &status);
  return status.st_mode & 0777;
}

TEST(FbxOutputFile, PutsTheFileInItsPlace) {
  const TestFolder folder;
  umask(022);
  ASSERT_TRUE(Write(folder.path("new.fbx")));
  EXPECT_EQ(ModeOf(folder.path("new.fbx")), 0644);

  folder.write("older.fbx", "older");
  fs::permissions(folder.path("older.fbx"), fs::perms(0600));
  ASSERT_TRUE(Write(folder.path("older.fbx")));
  EXPECT_EQ(ModeOf(folder.path("older.fbx")), 0600);

  fs::create_directory(folder.path("sub"));
  fs::create_symlink("older.fbx", folder.path("near"));
  fs::create_symlink("../near", folder.path("sub/link"));
  fs::create_symlink("made.fbx", folder.path("dangling"));
  for (const char* link : {"sub/link", "dangling"}) {
    ASSERT_TRUE(Write(folder.path(link)));
    EXPECT_TRUE(fs::is_symlink(folder.path(link)));
  }
  for (const char* name : {"new.fbx", "older.fbx", "made.fbx"}) {
    EXPECT_EQ(ReadFile(folder.path(name)), Written()) << name;
  }
  EXPECT_EQ(folder.names().size(), 6U);  // nothing temporary is left
}

TEST(FbxOutputFile, TellsWhyItCannotWrite) {
  const TestFolder folder;
  fs::create_directory(folder.path("folder"));
  fs::create_directory(folder.path("closed"));
  folder.write("file", "older");
  fs::create_symlink("loop", folder.path("loop"));
  fs::permissions(folder.path(), fs::perms(0777));
  for (const char* closed : {"closed", "file"}) {
    fs::permissions(folder.path(closed), fs::perms(0555));
  }
  const std::pair<std::string, const char*> cases[] = {
      {folder.path("missing/a.fbx"), "No such file or directory"},
      {folder.path("folder"), "Is a directory"},
      {folder.path("file/a.fbx"), "Not a directory"},
      {folder.path("loop"), "Too many levels of symbolic links"},
      {folder.path(std::string(300, 'n')), "File name too long"},
      {folder.path("closed/a.fbx"), "Permission denied"},
      {folder.path("file"), "Permission denied"},
      {"/dev/full", "No space left on device"},
  };
  // With the rights of an ordinary user: permissions mean nothing to the superuser.
  EXPECT_TRUE(getuid() != 0 || seteuid(65534) == 0);
  for (const auto& [target, reason] : cases) {
    EXPECT_FALSE(Write(target));
    EXPECT_EQ(TakeMessage(), ("Unable to write '" + target + "': " + reason + ".").c_str());
  }
  EXPECT_TRUE(getuid() != 0 || seteuid(0) == 0);
  EXPECT_EQ(folder.read("file"), "older");
  EXPECT_EQ(folder.names().size(), 4U);
}

TEST(FbxOutputFile, LeavesTheOlderFileWhenWritingFails) {
  const TestFolder folder;
  folder.write("a.fbx", "older");
  const auto write_much = [&folder] {
    FbxOutputFile file;
    EXPECT_TRUE(file.open(folder.path("a.fbx")));
    for (int i = 0; i < 4; ++i) file.write(kText.data(), kText.size());
    EXPECT_FALSE(file.commit());
    return std::string(TakeMessage());
  };
  theExceptObj.setCancelHook([] { return true; });
  EXPECT_EQ(write_much(), "Canceled.");
  theExceptObj.setCancelHook(nullptr);
  const rlimit small = {1000000, RLIM_INFINITY};
  const rlimit none = {RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_TRUE(write_much().ends_with(": File too large."));
  setrlimit(RLIMIT_FSIZE, &none);
  EXPECT_EQ(folder.read("a.fbx"), "older");
  EXPECT_EQ(folder.names().size(), 1U);

  fs::create_directory(folder.path("sub"));
  FbxOutputFile file;
  ASSERT_TRUE(file.open(folder.path("sub/a.fbx")));
  fs::remove_all(folder.path("sub"));
  EXPECT_FALSE(file.commit());
  EXPECT_NE(TakeMessage().view().find("No such file"), std::string_view::npos);
}

TEST(FbxOutputFile, WritesIntoPipesAndNoticesThatTheyClose) {
  const TestFolder folder;
  const std::string pipe = folder.path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::string received;
  std::thread reads_all([&] { received = ReadFile(pipe); });
  EXPECT_TRUE(Write(pipe));
  reads_all.join();
  EXPECT_EQ(received, Written());
  std::thread reads_nothing([&] { close(open(pipe.c_str(), O_RDONLY)); });
  EXPECT_FALSE(Write(pipe));
  reads_nothing.join();
  EXPECT_TRUE(TakeMessage().view().ends_with(": Broken pipe."));
  EXPECT_TRUE(Write("/dev/null"));
}

}  // namespace
