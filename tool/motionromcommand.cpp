// "motion rom": writes motion in which each variable of a mapping swings in turn.
#include <algorithm>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamotion.h"
#include "arguments.h"
#include "inputs.h"
#include "modelfacts.h"
#include "motionfiles.h"
#include "rangeofmotion.h"
#include "sourcefiles.h"

namespace {

// How far bodies move where nobody says: as a part of the longest side of the model.
constexpr double kPartOfSize = 0.1;

// Where bodies without polygons stand counts as well.
double SizeOf(const ModelFacts& facts) {
  Box box = facts.box;
  for (const BodyFacts& body : facts.bodies) box.add(body.world_position);
  double size = 0;
  for (std::size_t c = 0; box.min && c < 3; ++c) {
    size = std::max(size, (*box.max)[c] - (*box.min)[c]);
  }
  return size > 0 ? size : 1 / kPartOfSize;
}

// Complains of a body that is mapped but not in the model, as a conversion does.
bool CheckBodies(const std::string& file, const BaUnlockedMapping& mapping,
                 const BodyNames& names) {
  for (const BaUnlockedBodyMap* map : mapping.bodyMaps()) {
    if (names.contains(map->bodyId())) continue;
    Complain(file, "The dof specifies a body with id " + std::to_string(map->bodyId()) +
                       ", but there is no such body in the model.");
    return false;
  }
  return true;
}

}  // namespace

int RunMotionRom(const Arguments& arguments) {
  if (!CheckPositive("--rate", arguments.new_rate) ||
      !CheckPositive("--seconds", arguments.seconds) ||
      !CheckPositive("--swing", arguments.swing) ||
      !CheckPositive("--distance", arguments.distance, true)) {
    return kExitTrouble;
  }
  const std::string& model_file = arguments.files[0];
  const std::string& dof_file = arguments.files[1];
  BaModel model;
  BaUnlockedMapping mapping;
  if (!TellMessages(model_file, ReadModel(model_file, &model)) ||
      !TellMessages(dof_file, ReadMapping(dof_file, &mapping))) {
    return kExitTrouble;
  }
  const ModelFacts facts = GatherModelFacts(model_file, model, &mapping);
  BodyNames names;
  std::vector<int> order;
  for (const BodyFacts& body : facts.bodies) {
    names.emplace(body.id, body.name);
    order.push_back(body.id);
  }
  if (!CheckBodies(dof_file, mapping, names)) return kExitTrouble;
  const double angle_unit = arguments.angles == "radians" ? BaVariableUnits::kRadiansPerDegree : 1;
  const Swings swings = {
      .rate = BaExactFrameRate(arguments.new_rate),
      .seconds = arguments.seconds,
      .angle = arguments.swing * angle_unit,
      .distance = arguments.distance > 0 ? arguments.distance : kPartOfSize * SizeOf(facts)};
  BaMotion motion;
  const bool is_made = MakeRangeOfMotion(mapping, order, names, swings, &motion);
  if (!TellMessages(dof_file, TakeMessages()) || !is_made) return kExitTrouble;
  SourceFiles sources;
  sources.add(model.sourceFiles());
  sources.add(mapping.sourceFiles());
  return WriteMotion(arguments.output, sources, motion);
}
