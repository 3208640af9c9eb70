// Compressed models and mappings, through the program and through the library.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "bamapping.h"
#include "bamodel.h"
#include "bamodeldata.h"
#include "btexcept.h"
#include "runprogram.h"

namespace {

TEST(Compressed, FilesConvertLikePlainOnes) {
  const TestFolder folder;
  std::filesystem::copy(KESTRIX_SAMPLES, folder.path());
  for (const char* const name : {"robot.mdl", "robot.dof", "robot-v2.mdl"}) {
    const std::string file = folder.path(name);
    ASSERT_EQ(std::system(("gzip -k " + file).c_str()), 0);  // NOLINT(cert-env33-c)
    ASSERT_EQ(std::system(("compress <" + file + " >" + file + ".Z").c_str()), 0);  // NOLINT
  }
  const auto run = [&folder](const std::string& model, const std::string& mapping) {
    std::filesystem::remove(folder.path("out.fbx"));
    return RunKestrix({model, mapping, "out.fbx"}, folder.path());
  };
  const auto convert = [&](const std::string& model, const std::string& mapping) {
    EXPECT_EQ(run(model, mapping).err, "");
    return folder.read("out.fbx");
  };
  for (const std::string model : {"robot.mdl", "robot-v2.mdl"}) {
    const std::string plain = convert(model, "robot.dof");
    EXPECT_GT(plain.size(), 10000U);
    for (const char* const extension : {".gz", ".Z"}) {
      EXPECT_TRUE(convert(model + extension, std::string("robot.dof") + extension) == plain)
          << model << extension;
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
  for (const char* const extension : {".gz", ".Z"}) {
    const std::string document_file = folder.path("saved.mdl") + extension;
    const std::string mapping_file = folder.path("saved.dof") + extension;
    BaModelData document;
    BaUnlockedMapping mapping;
    ASSERT_TRUE(document.read(Sample("robot-v2.mdl").c_str(), true));
    ASSERT_TRUE(mapping.read(Sample("robot.dof").c_str(), true));
    ASSERT_TRUE(document.save(document_file.c_str()));
    ASSERT_TRUE(mapping.save(mapping_file.c_str()));
    EXPECT_TRUE(ReadFile(document_file).starts_with('\x1F'));
    BaModelData read_document;
    BaUnlockedMapping read_mapping;
    EXPECT_TRUE(read_document.read(document_file.c_str(), true));
    EXPECT_TRUE(read_mapping.read(mapping_file.c_str(), true));
    EXPECT_EQ(read_document.bodies().count(), document.bodies().count());
    EXPECT_TRUE(read_mapping == mapping);
  }
  // A full disk.
  std::filesystem::create_symlink("/dev/full", folder.path("full.gz"));
  EXPECT_FALSE(BaModelData().save(folder.path("full.gz").c_str()));
  EXPECT_TRUE(BtError());
  theExceptObj.clear();
  EXPECT_FALSE(BaUnlockedMapping().save(folder.path("full.gz").c_str()));
  theExceptObj.clear();
}

}  // namespace
