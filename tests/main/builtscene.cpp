#include "builtscene.h"

#include <gtest/gtest.h>

#include <sstream>

#include "bamodel.h"
#include "btexcept.h"
#include "scene.h"

BuiltScene::BuiltScene(const std::string& model_text, const std::string& dof_text,
                       bool mesh_per_body, float scale_factor, const std::string& directory)
    : manager(KFbxSdkManager::Create(), DestroySdk) {
  std::istringstream model_stream(model_text);
  BaModel model;
  model.scanFrom(model_stream, directory.c_str());
  EXPECT_FALSE(BtReportError());
  model_data.fillFrom(model, true);
  EXPECT_FALSE(BtReportError());
  std::istringstream dof_stream(dof_text);
  mapping.scanFrom(dof_stream, false);
  EXPECT_FALSE(BtReportError());
  scene = KFbxScene::Create(manager.get(), "");
  EXPECT_TRUE(CreateScene(manager.get(), scene, model_data, (directory + "/test.mdl").c_str(),
                          mapping, scale_factor, mesh_per_body));
}

std::string DofWithOrder(const std::string& order) {
  return "Zov Graphic Mapping File\nv1.0\n6\n1\n1\n" + order + "\n1\n2\n3\n4\n5\n6\n";
}

std::string BodyAt(int id, const std::string& name, int parent, const std::string& rows) {
  return "X\n" + name + "\n" + std::to_string(id) + "\nparent\n" + std::to_string(parent) + "\n" +
         rows + "\n";
}
