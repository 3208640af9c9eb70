// A lighting model: how all lights together light the model.
#pragma once

#include "Ba/balightrecord.h"

class BaLightingModel : public Ba_LightRecord {
 public:
  BaLightingModel() : Ba_LightRecord(_form) {}

 private:
  static const Form _form;
};
