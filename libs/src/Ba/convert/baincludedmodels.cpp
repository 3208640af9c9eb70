// Merging the models that a document includes into it.
#include "Ba/bamodelcombine.h"
#include "Ba/bamodeldata.h"
#include "Bt/btfile.h"
#include "bamdsection.h"
#include "bapicturefile.h"
#include "btincludechain.h"
#include "btreading.h"

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
      texture->setName(BaPictureSeenFrom(directory, texture->name(), include_directory));
    }
  }
}

// Lengths are taken as they stand.
void CheckLengthUnits(const BaUnits& units, const BaUnits& include_units, const BtStr& file_name) {
  if (units == include_units) return;
  BtWarn(BtCode("units-differ"),
         "The length unit of sub-model '%s' (%g %s) is not that of the model (%g %s).  Its lengths "
         "are "
         "not converted.",
         static_cast<const char*>(file_name), static_cast<double>(include_units.factor),
         static_cast<const char*>(include_units.name), static_cast<double>(units.factor),
         static_cast<const char*>(units.name));
}

}  // namespace

bool BaModelData::_mergeIncludes(Bt_IncludeChain* chain) {
  if (_includes.empty()) return true;
  BaModel combined;
  combined.beginLoad();
  if (!_extractInto(&combined)) return false;
  BaModelCombine combine(&combined);
  if (!_combineIncludes({&combine, _directory, chain}, 0, "") || !combined.endLoad()) return false;
  const BtStr directory = _directory;
  if (!fillFrom(combined, true)) return false;
  _directory = directory;
  return true;
}

bool BaModelData::_combineIncludes(const IncludeTarget& target, long long body_id_offset,
                                   const BtStr& body_name_suffix) const {
  for (const BaMDInclude* include : _includes) {
    if (theExceptObj.checkCancel()) return false;
    const BtStr file_name = FileOf(*include, _directory);
    if (!target.chain->enter(file_name) ||
        !_combineFile(file_name, target, body_id_offset + include->bodyIdOffset(),
                      include->bodyNameSuffix() + body_name_suffix)) {
      return BtFail("Unable to include sub-model.");
    }
    target.chain->leave();
  }
  return true;
}

bool BaModelData::_combineFile(const BtStr& file_name, const IncludeTarget& target,
                               long long body_id_offset, const BtStr& body_name_suffix) const {
  BaModelData sub_data;
  if (!sub_data._readFile(file_name, target.chain)) return false;
  const BtFileReading reading(file_name);
  MoveTextures(sub_data.materials(), target.directory, sub_data._directory);
  CheckLengthUnits(_length_units, sub_data.lengthUnits(), file_name);
  {
    BaModel sub_model;
    if (!sub_data.extractTo(&sub_model)) return BtFail("Unable to read '" + file_name + "'.");
    // A table of bodies takes memory and time for every id below the highest one.
    if (!target.chain->count(sub_model.bodies().size())) return false;
    if (!target.combine->add(sub_model, body_id_offset, body_name_suffix)) return false;
  }
  return sub_data._combineIncludes(target, body_id_offset, body_name_suffix) ||
         BtFail("Unable to read '" + file_name + "'.");
}
