// Compressed models and mappings, through the program and through the library.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "Ba/bamapping.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
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

TEST(Compressed, FilesAreSavedAndReadBack) {
  const TestFolder folder;
  std::filesystem::create_symlink("/dev/full", folder.path("full.gz"));
  // The file of the first one is what the second one reads.
  const auto save_and_read = [&folder](const char* sample, const std::string& name, auto* files) {
    EXPECT_TRUE(files[0].read(Sample(sample).c_str(), true));
    EXPECT_FALSE(files[0].save(folder.path("full.gz").c_str()));
    EXPECT_TRUE(BtError());
    theExceptObj.clear();
    EXPECT_TRUE(files[0].save(folder.path(name).c_str()));
    EXPECT_TRUE(folder.read(name).starts_with('\x1F'));
    EXPECT_TRUE(files[1].read(folder.path(name).c_str(), true));
  };
  for (const std::string extension : {".gz", ".Z"}) {
    BaModelData documents[2];
    BaUnlockedMapping mappings[2];
    save_and_read("robot-v2.mdl", "saved.mdl" + extension, documents);
    save_and_read("robot.dof", "saved.dof" + extension, mappings);
    EXPECT_EQ(documents[1].bodies().count(), documents[0].bodies().count());
    EXPECT_TRUE(mappings[1] == mappings[0]);
  }
}

}  // namespace
