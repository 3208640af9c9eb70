// Converted samples, taken apart: their objects are whole, and what stands in several places
// agrees.
#include <gtest/gtest.h>

#include "Fbx/fbxfamily.h"
#include "runprogram.h"

namespace {

TEST(Structure, FilesAgreeWithThemselves) {
  const TestFolder folder;
  const struct {
    std::string model;
    std::string mapping;
    int clusters;           // one for each body that vertices follow
    int clusters_per_body;  // none where all vertices follow their own body
  } cases[] = {{"fox.mdl", "fox.dof", 22, 91},
               {"robot-v2.mdl", "robot.dof", 36, 141},
               {"walker.mdl", "walker.dof", 16, 0},
               {"stage-v2.mdl", "stage.dof", 24, 91}};
  for (const auto& c : cases) {
    for (const Family& family : kFamilies) {
      for (const bool per_body : {false, true}) {
        SCOPED_TRACE(c.model + (family.has_ids ? " 7.1" : " 6.1") + (per_body ? " per body" : ""));
        std::vector<std::string> arguments = {"-mb_version", family.has_ids ? "2011" : "2010"};
        if (per_body) arguments.emplace_back("-mesh_per_body");
        const std::string fbx = folder.path("out.fbx");
        arguments.insert(arguments.end(), {Sample(c.model), Sample(c.mapping), fbx});
        const RunResult result = RunKestrix(arguments);
        ASSERT_EQ(result.status, 0) << result.err;
        const FbxFile file = ParseFbx(ReadFile(fbx));
        ASSERT_EQ(file.fault, "");
        ExpectSoundObjects(family, file);
        EXPECT_EQ(ExpectAgreeingTransforms(family, file),
                  per_body ? c.clusters_per_body : c.clusters);
      }
    }
  }
}

}  // namespace
