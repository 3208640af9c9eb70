#include "Ba/balight.h"

const BaLight::Form BaLight::_form = {"I  ",
                                      "light",
                                      &Ba_LightAttrInfo::light_code,
                                      "Unable to read light id.",
                                      "Unable to read light on/off status.",
                                      "Unable to read light attribute status.",
                                      "Invalid light attribute."};
