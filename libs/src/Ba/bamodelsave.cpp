// Where models go out to files: always as documents.

#include "bamodel.h"
#include "bamodeldata.h"
#include "btexcept.h"

void BaModel::save(const char* file_name) const {
  BtAssert(!BtError(), "!BtError()");
  BaModelData data;
  if (!data.fillFrom(*this, true)) {
    theExceptObj.set("Unable to convert to zov format v2.0.");
    return;
  }
  data.save(file_name);
}
