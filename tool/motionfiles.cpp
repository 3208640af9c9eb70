#include "motionfiles.h"

#include <cmath>
#include <filesystem>
#include <string_view>

#include "Ba/bamotion.h"
#include "arguments.h"
#include "bttextfile.h"
#include "sourcefiles.h"

namespace {

struct LengthUnit {
  std::string_view name;
  double metres;
};

// As the option names them, and as models do.
constexpr LengthUnit kLengthUnits[] = {
    {"millimeters", 0.001}, {"centimeters", 0.01}, {"meters", 1}, {"inches", 0.0254},
    {"feet", 0.3048},       {"INCHES", 0.0254},    {"METERS", 1},
};

// 0 for a unit that is not known.
double MetresOf(std::string_view unit) {
  for (const LengthUnit& known : kLengthUnits) {
    if (known.name == unit) return known.metres;
  }
  return 0;
}

}  // namespace

std::vector<Message> ReadMotion(const std::string& file, double rate, BaMotion* motion) {
  motion->read(file.c_str(), {.rate = BaExactFrameRate(rate)});
  return TakeMessages();
}

std::string TakeName(const std::string& file, std::set<std::string>* used) {
  const std::filesystem::path text = Text(BtTextFileName(file.c_str()));
  const std::string stem = text.stem().string();
  std::string name = stem;
  for (int i = 2; !used->insert(name).second; ++i) name = stem + "_" + std::to_string(i);
  return name;
}

BaVariableUnits UnitsOfVariables(const Arguments& arguments, const BaUnits& model_unit) {
  BaVariableUnits units;
  if (arguments.angles == "radians") units.angle = 1;
  if (arguments.lengths.empty()) return units;
  // Lengths of the model times the factor are in its unit.
  const double metres = MetresOf(model_unit.name.view()) * static_cast<double>(model_unit.factor);
  units.length = metres > 0 ? MetresOf(arguments.lengths) / metres : 0;
  return units;
}

int WriteMotion(const std::string& file, const SourceFiles& sources, const BaMotion& motion) {
  if (sources.checkOutput(file.c_str())) motion.save(file.c_str());
  return TellMessages(file, TakeMessages()) ? kExitGood : kExitTrouble;
}

bool CheckPositive(const char* option, double value, bool may_be_absent) {
  if (std::isfinite(value) && (value > 0 || (may_be_absent && value == 0))) return true;
  Complain(option, "the value must be a number above zero");
  return false;
}
