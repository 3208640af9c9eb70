#include "motionfiles.h"

#include <cmath>

#include "Ba/bamotion.h"
#include "arguments.h"

std::vector<Message> ReadMotion(const std::string& file, double rate, BaMotion* motion) {
  motion->read(file.c_str(), {.rate = BaExactFrameRate(rate)});
  return TakeMessages();
}

int WriteMotion(const std::string& file, const BaMotion& motion) {
  motion.save(file.c_str());
  return TellMessages(file, TakeMessages()) ? kExitGood : kExitTrouble;
}

bool CheckPositive(const char* option, double value, bool may_be_absent) {
  if (std::isfinite(value) && (value > 0 || (may_be_absent && value == 0))) return true;
  Complain(option, "the value must be a number above zero");
  return false;
}
