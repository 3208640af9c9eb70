// Merging the models that a document includes into it.
#include "baincludechain.h"
#include "bamdsection.h"
#include "bamodelcombine.h"
#include "bamodeldata.h"
#include "btfile.h"

namespace {

BtStr FileOf(const BaMDInclude& include, const BtStr& directory) {
  return BtFileIsAbsolutePath(include.fileName()) ? include.fileName()
                                                  : BtFileJoin(directory, include.fileName());
}

// Texture files of an included document start from its own folder.
void MoveTextures(const BtList<BaMDMaterial*>& materials, const BtStr& directory,
                  const BtStr& include_directory) {
  if (directory == include_directory) return;
  for (const BaMDMaterial* material : materials) {
    for (BaMDTexture* texture : material->textures()) {
      texture->setName(BaSeenFrom(directory, texture->name(), include_directory));
    }
  }
}

// Lengths are taken as they stand.
void CheckLengthUnits(const BaUnits& units, const BaUnits& include_units, const BtStr& file_name) {
  if (units == include_units) return;
  theExceptObj.setAsWarning(
      "The length unit of sub-model '%s' (%g %s) is not that of the model (%g %s).  Its lengths "
      "are "
      "not converted.",
      static_cast<const char*>(file_name), static_cast<double>(include_units.factor),
      static_cast<const char*>(include_units.name), static_cast<double>(units.factor),
      static_cast<const char*>(units.name));
}

}  // namespace

bool BaModelData::_mergeIncludes(Ba_IncludeChain* chain) {
  if (_includes.empty()) return true;
  BaModel combined;
  if (!_combineInto(&combined, _directory, chain)) return false;
  clear();
  return fillFrom(combined, true);
}

bool BaModelData::_combineInto(BaModel* model, const BtStr& directory,
                               Ba_IncludeChain* chain) const {
  model->beginLoad();
  if (!_extractInto(model)) return false;
  BaModelCombine combine(model);
  for (const BaMDInclude* include : _includes) {
    if (!_combineInclude(*include, directory, &combine, chain)) {
      return BaFail("Unable to include sub-model.");
    }
    if (theExceptObj.checkCancel()) return false;
  }
  return model->endLoad();
}

bool BaModelData::_combineInclude(const BaMDInclude& include, const BtStr& directory,
                                  BaModelCombine* combine, Ba_IncludeChain* chain) const {
  const BtStr file_name = FileOf(include, _directory);
  if (!chain->enter(file_name)) return false;
  BaModelData sub_data;
  BaModel sub_model;
  if (!sub_data._readFile(file_name)) return false;
  MoveTextures(sub_data.materials(), directory, sub_data._directory);
  CheckLengthUnits(_length_units, sub_data.lengthUnits(), file_name);
  if (!sub_data._combineInto(&sub_model, directory, chain)) {
    return BaFail("Unable to read '" + file_name + "'.");
  }
  chain->leave();
  return combine->add(sub_model, include.bodyIdOffset(), include.bodyNameSuffix());
}
