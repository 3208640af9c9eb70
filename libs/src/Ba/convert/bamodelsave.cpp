// Where models go out to files: always as documents.

#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"

void BaModel::save(const char* file_name) const {
  BtAssert(!BtError(), "!BtError()");
  BtAssert(file_name != nullptr, "file_name");
  BaModelData data;
  if (!data.fillFrom(*this, true)) {
    theExceptObj.set("Unable to convert to zov format v2.0.");
    return;
  }
  if (!data.save(file_name)) return;
  const int n_lights = _lights.count() + _lighting_models.count();
  if (n_lights + _muscles.count() == 0) return;
  BtWarn(BtCode("left-out"),
         "Lights and lighting models (%d) and muscles (%d) have no form in a model document.  They "
         "are "
         "left out.",
         n_lights, _muscles.count());
}
