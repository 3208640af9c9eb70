// A scene built in memory from model and mapping text, the way the program does it.
#pragma once

#include <memory>
#include <string>

#include "bamapping.h"
#include "bamodeldata.h"
#include "kfbxmesh.h"
#include "kfbxnode.h"
#include "kfbxscene.h"

struct BuiltScene {
  // Asserts through GoogleTest that both texts read without an error. `directory` is the folder in
  // which textures are looked for.
  BuiltScene(const std::string& model_text, const std::string& dof_text, bool mesh_per_body = false,
             float scale_factor = 1.0F, const std::string& directory = ".");

  [[nodiscard]] KFbxNode* node(const char* name) const { return scene->FindNodeByName(name); }
  [[nodiscard]] const KFbxMesh& mesh(const char* name) const { return *node(name)->GetMesh(); }

  BaModelData model_data;
  BaUnlockedMapping mapping;
  std::unique_ptr<KFbxSdkManager, void (*)(KFbxSdkManager*)> manager;
  KFbxScene* scene = nullptr;
};

// A mapping of no body, and one that maps body 1 with this order line.
inline const std::string kEmptyDof = "Zov Graphic Mapping File\nv1.0\n0\n0\n";
std::string DofWithOrder(const std::string& order);

// The two header lines, and a body record.
inline const std::string kHeader = "Zov Graphic Model File\nv1.30\n";
std::string BodyAt(int id, const std::string& name, int parent, const std::string& rows);
