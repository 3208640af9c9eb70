// Puts two characters into one: model, mapping and FBX file.
#include <kestrix/Ba/bamapping.h>
#include <kestrix/Ba/bamodel.h>
#include <kestrix/Ba/bamodelcombine.h>
#include <kestrix/Ba/bamodeldata.h>
#include <kestrix/Bt/btexcept.h>
#include <kestrix/convert/save.h>
#include <kestrix/convert/scene.h>

#include <cstdlib>
#include <iostream>

namespace {

struct Character {
  BaModel model;
  BaUnlockedMapping mapping;
};

// Operations record what went wrong. BtReportError() prints and forgets it; true for an error.
bool Read(const char* model_file, const char* mapping_file, Character* character) {
  character->model.read(model_file);
  if (!BtReportError()) character->mapping.read(mapping_file, true);
  return !BtReportError();
}

// The bodies of the second character get ids behind those of the first, and every body a name that
// tells whose it is. The variables of the second mapping follow on those of the first.
bool Combine(const Character& first, const Character& second, Character* both) {
  const int highest_id = first.model.bodies().size() - 1;
  both->model.beginLoad();
  both->model.setLengthUnits(first.model.lengthUnits());
  BaModelCombine combine(&both->model);
  if (combine.add(first.model, 0, "_1") && combine.add(second.model, highest_id, "_2")) {
    both->model.endLoad();
  }
  both->mapping = first.mapping;
  if (!BtError()) both->mapping.merge(second.mapping, highest_id);
  return !BtReportError();
}

// Numbers the bodies from 1 without gaps, in the model and in the mapping.
void Renumber(Character* character) {
  BtMap<int, int> new_ids;
  for (const auto& body : character->model.bodies()) {
    if (body != nullptr && body->id() > 0) new_ids.insert(body->id(), new_ids.count() + 1);
  }
  character->model.changeBodyIds(new_ids);
  character->mapping.changeBodyIds(new_ids);
}

bool Save(const Character& character, const BtStr& model_file, const BtStr& mapping_file) {
  character.model.save(model_file);
  if (!BtReportError()) character.mapping.save(mapping_file);
  return !BtReportError();
}

// What the program does with a model and a mapping. Textures are looked for beside the model file.
bool Convert(const Character& character, const BtStr& model_file, const BtStr& fbx_file) {
  BaModelData data;
  data.fillFrom(character.model, true);
  if (!BtError()) CheckMapping(character.mapping, data);
  if (BtReportError()) return false;

  KFbxSdkManager* manager = nullptr;
  KFbxScene* scene = nullptr;
  InitializeSdk(&manager, &scene);
  const float centimetres_per_inch = 2.54F;
  if (CreateScene(manager, scene, data, model_file, character.mapping, centimetres_per_inch,
                  false)) {
    const WriterChoice writer = FindMotionBuilderWriter(manager, "2011", false);
    SaveScene(manager, scene, fbx_file, false, true, writer.version);
  }
  DestroySdk(manager);
  return !BtReportError();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) {
    std::cerr << "usage: combine <mdl> <dof> <other mdl> <other dof> <name of the result>\n";
    return EXIT_FAILURE;
  }
  Character first;
  Character second;
  Character both;
  if (!Read(argv[1], argv[2], &first) || !Read(argv[3], argv[4], &second)) return EXIT_FAILURE;
  if (!Combine(first, second, &both)) return EXIT_FAILURE;
  Renumber(&both);
  both.model.removeBones();
  both.model.removeUnusedMaterials(true);
  const BtStr name = argv[5];
  const bool done =
      Save(both, name + ".mdl", name + ".dof") && Convert(both, name + ".mdl", name + ".fbx");
  return done ? EXIT_SUCCESS : EXIT_FAILURE;
}
