#include "motionfiles.h"

#include <charconv>
#include <cmath>
#include <filesystem>
#include <memory>
#include <string_view>

#include "Ba/bamotion.h"
#include "Bt/btexcept.h"
#include "arguments.h"
#include "bttextfile.h"
#include "sourcefiles.h"
#include "style.h"

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

// Messages begin with file and line, and end with the field between quotes, if there is one.
void Locate(const std::string& file, Message* message) {
  if (!message->text.starts_with(file + ":")) return;
  BtPlace place = {std::make_shared<BtSource>(BtSource{file.c_str(), nullptr}), 0};
  const char* const start = message->text.c_str() + file.size() + 1;
  const char* const end = message->text.c_str() + message->text.size();
  const auto [behind, fault] = std::from_chars(start, end, place.lines);
  if (fault != std::errc() || --place.lines < 0 || !std::string_view(behind, end).starts_with(": "))
    return;
  message->where = WhereFinder().find(place);
  if (message->where.line == 0) return;
  message->text.erase(0, static_cast<std::size_t>(behind + 2 - message->text.c_str()));
  const std::size_t quote = message->text.find(": '");
  if (quote == std::string::npos) return;
  const std::string field = message->text.substr(quote + 3, message->text.size() - quote - 4);
  const std::size_t at = message->where.text.find(field);
  if (at == std::string::npos) return;
  message->where.column = static_cast<long long>(Width(message->where.text.substr(0, at))) + 1;
}

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
  std::vector<Message> messages = TakeMessages();
  for (Message& message : messages) Locate(file, &message);
  return messages;
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
