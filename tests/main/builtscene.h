// A scene built in memory from model and mapping text, the way the program does it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "Fbx/kfbxmesh.h"
#include "Fbx/kfbxnode.h"
#include "Fbx/kfbxscene.h"
#include "scene.h"

struct BuiltScene {
  // Expects that both texts read without an error. `directory` is the folder in which textures are
  // looked for.
  BuiltScene(const std::string& model_text, const std::string& dof_text, bool mesh_per_body = false,
             float scale_factor = 1.0F, const std::string& directory = ".")
      : manager(KFbxSdkManager::Create(), DestroySdk) {
    std::istringstream model_stream(model_text);
    model.scanFrom(model_stream, directory.c_str());
    model_data.fillFrom(model, true);
    std::istringstream dof_stream(dof_text);
    mapping.scanFrom(dof_stream, false);
    EXPECT_FALSE(BtReportError());
    scene = KFbxScene::Create(manager.get(), "");
    EXPECT_TRUE(CreateScene(manager.get(), scene, model_data, (directory + "/test.mdl").c_str(),
                            mapping, scale_factor, mesh_per_body));
  }

  [[nodiscard]] KFbxNode* node(const char* name) const { return scene->FindNodeByName(name); }
  [[nodiscard]] const KFbxMesh& mesh(const char* name) const { return *node(name)->GetMesh(); }

  BaModel model;
  BaModelData model_data;
  BaUnlockedMapping mapping;
  std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> manager;
  KFbxScene* scene = nullptr;
};

// A mapping of no body, and one that maps body 1 with this order line.
inline const std::string kEmptyDof = "Zov Graphic Mapping File\nv1.0\n0\n0\n";
inline std::string DofWithOrder(const std::string& order) {
  return "Zov Graphic Mapping File\nv1.0\n6\n1\n1\n" + order + "\n1\n2\n3\n4\n5\n6\n";
}

// The two header lines, and a body record.
inline const std::string kHeader = "Zov Graphic Model File\nv1.30\n";
inline std::string BodyAt(int id, const std::string& name, int parent,
                          const std::string& rows = "1 0 0 0 1 0 0 0 1 0 0 0") {
  return "X\n" + name + "\n" + std::to_string(id) + "\nparent\n" + std::to_string(parent) + "\n" +
         rows + "\n";
}
