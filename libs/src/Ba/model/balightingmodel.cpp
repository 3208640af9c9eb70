#include "Ba/balightingmodel.h"

const BaLightingModel::Form BaLightingModel::_form = {
    "G  ",
    "lighting model",
    &Ba_LightAttrInfo::model_code,
    "Unable to read lighting model id.",
    "Unable to read lighting model on/off status.",
    "Unable to read lighting model attribute type.",
    "Unknown lighting model attribute type %d."};
