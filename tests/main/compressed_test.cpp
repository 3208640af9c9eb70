// Compressed models and mappings, through the program.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "runprogram.h"

namespace {

TEST(Compressed, FilesConvertLikePlainOnes) {
  const TestFolder folder;
  std::filesystem::copy(KESTRIX_SAMPLES, folder.path());
  const std::string command = "cd " + folder.path() +
                              " && for file in robot.mdl robot.dof robot-v2.mdl; do"
                              " gzip -k $file && compress <$file >$file.Z; done";
  ASSERT_EQ(std::system(command.c_str()), 0);  // NOLINT(cert-env33-c)
  const auto run = [&folder](const std::string& model, const std::string& mapping) {
    std::filesystem::remove(folder.path("out.fbx"));
    return RunKestrix({model, mapping, "out.fbx"}, folder.path());
  };
  for (const std::string model : {"robot.mdl", "robot-v2.mdl"}) {
    EXPECT_EQ(run(model, "robot.dof").err, "");
    const std::string plain = folder.read("out.fbx");
    EXPECT_GT(plain.size(), 10000U);
    for (const std::string extension : {".gz", ".Z"}) {
      EXPECT_EQ(run(model + extension, "robot.dof" + extension).err, "");
      EXPECT_TRUE(folder.read("out.fbx") == plain) << model << extension;
    }
  }
  // Where only the checksum is missing the text is complete, and yet the file is not whole.
  for (const char* const name : {"robot.mdl.gz", "robot.dof.gz"}) {
    const std::string whole = folder.read(name);
    folder.write(name, whole.substr(0, whole.size() - 8));
    const RunResult result = run("robot.mdl.gz", "robot.dof.gz");
    folder.write(name, whole);
    EXPECT_EQ(result.status, 1) << name;
    EXPECT_NE(result.err.find("Unable to decompress file."), std::string::npos) << result.err;
    EXPECT_NE(result.err.find("unexpected end of file"), std::string::npos) << result.err;
    EXPECT_FALSE(std::filesystem::exists(folder.path("out.fbx")));
  }
}

}  // namespace
