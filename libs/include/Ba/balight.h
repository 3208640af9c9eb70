// A light of a model.
#pragma once

#include "Ba/balightrecord.h"

class BaLight : public Ba_LightRecord {
 public:
  BaLight() : Ba_LightRecord(_form) {}

 private:
  static const Form _form;
};
