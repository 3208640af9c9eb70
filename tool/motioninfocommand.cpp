// "motion info": tells what is in a motion file, and what it moves.
#include <algorithm>
#include <iostream>
#include <optional>

#include "Ba/bamotion.h"
#include "arguments.h"
#include "driventext.h"
#include "inputs.h"
#include "json.h"
#include "motionfiles.h"
#include "style.h"
#include "texttable.h"

namespace {

using Driven = BaUnlockedMapping::Driven;
using AllDriven = std::map<int, std::vector<Driven>>;

// What there is to say about one variable.
struct SysVarFacts {
  int id;
  float lowest;
  float highest;
};

struct MotionFacts {
  BaMotion motion;
  std::vector<SysVarFacts> sysvars;  // in file order
  std::optional<AllDriven> driven;   // where there is a mapping
  std::vector<int> missing;          // variables of the mapping that the motion does not hold
};

std::vector<Driven> DrivenOf(const MotionFacts& facts, int sysvar_id) {
  const auto found = facts.driven->find(sysvar_id);
  return found == facts.driven->end() ? std::vector<Driven>() : found->second;
}

void Gather(MotionFacts* facts) {
  for (const int id : facts->motion.sysVarIds()) {
    const auto values = facts->motion.values(id);
    const auto [lowest, highest] = std::minmax_element(values.begin(), values.end());
    facts->sysvars.push_back({id, *lowest, *highest});
  }
  if (!facts->driven) return;
  for (const auto& [id, driven] : *facts->driven) {
    if (!facts->motion.holds(id)) facts->missing.push_back(id);
  }
}

void PrintMotion(const std::string& file, const MotionFacts& facts, std::ostream& os) {
  const BaMotion& motion = facts.motion;
  os << Styled(Style::Title, file) << "\n"
     << "  motion    " << Counted(motion.numFrames(), "frame", "frames") << ", "
     << Short(motion.length()) << " s, from " << Short(motion.times().front()) << " s to "
     << Short(motion.times().back()) << " s\n"
     << "  rate      " << Short(motion.rate()) << " frames per second"
     << (motion.isEven() ? "" : ", not even") << "\n"
     << "  variables " << motion.sysVarIds().size() << "\n";
  for (const BtStr& comment : motion.comments()) os << "  # " << Printable(comment.view()) << "\n";
  TextTable table;
  table.add({"variable", "lowest", "highest", facts.driven ? "drives" : ""});
  for (const SysVarFacts& sysvar : facts.sysvars) {
    std::vector<std::string> row = {"v" + std::to_string(sysvar.id),
                                    Short(static_cast<double>(sysvar.lowest)),
                                    Short(static_cast<double>(sysvar.highest))};
    if (facts.driven) row.push_back(DrivenText(DrivenOf(facts, sysvar.id), {}));
    table.add(std::move(row));
  }
  PrintTitle("Variables", os);
  table.printOn(os);
  if (facts.missing.empty()) return;
  TextTable missing;
  missing.add({"variable", "drives"});
  for (const int id : facts.missing) {
    missing.add({"v" + std::to_string(id), DrivenText(DrivenOf(facts, id), {})});
  }
  PrintTitle("Missing, at rest", os);
  missing.printOn(os);
}

Json DrivenJson(const std::vector<Driven>& driven) {
  constexpr const char* kTransforms[] = {"tx", "ty", "tz", "rx", "ry", "rz"};
  Json json = Json::array();
  for (const Driven& thing : driven) {
    switch (thing.kind) {
      case Driven::Kind::Transform:
        json.push_back({{"body", thing.id},
                        {"transform", kTransforms[thing.transform_id - 1]},
                        {"factor", thing.factor}});
        break;
      case Driven::Kind::Slider:
        json.push_back({{"group", Text(thing.slider_group)}, {"slider", Text(thing.slider)}});
        break;
      default:
        json.push_back({{"material", thing.id}});
    }
  }
  return json;
}

Json MotionJson(const MotionFacts& facts) {
  const BaMotion& motion = facts.motion;
  Json comments = Json::array();
  for (const BtStr& comment : motion.comments()) comments.push_back(Text(comment));
  Json sysvars = Json::array();
  for (const SysVarFacts& sysvar : facts.sysvars) {
    Json row = {{"id", sysvar.id}, {"lowest", sysvar.lowest}, {"highest", sysvar.highest}};
    if (facts.driven) row["drives"] = DrivenJson(DrivenOf(facts, sysvar.id));
    sysvars.push_back(std::move(row));
  }
  Json json = {{"frames", motion.numFrames()},   {"rate", motion.rate()},
               {"even", motion.isEven()},        {"start", motion.times().front()},
               {"end", motion.times().back()},   {"comments", std::move(comments)},
               {"variables", std::move(sysvars)}};
  if (!facts.driven) return json;
  json["missing"] = Json::array();
  for (const int id : facts.missing) {
    json["missing"].push_back({{"id", id}, {"drives", DrivenJson(DrivenOf(facts, id))}});
  }
  return json;
}

// Tells what was recorded about a file; the error, if there is one, goes to `json` as well.
bool Tell(const std::string& file, const std::vector<Message>& messages, Json* json) {
  const Message* const error = ErrorOf(messages);
  *json = {{"file", file},
           {"error", error != nullptr ? Json(error->text) : Json(nullptr)},
           {"where", error != nullptr ? ToJson(error->where) : Json(nullptr)},
           {"warnings", ToJson(messages)}};
  return TellMessages(file, messages);
}

}  // namespace

int RunMotionInfo(const Arguments& arguments) {
  if (!CheckPositive("--rate", arguments.rate, true)) return kExitTrouble;
  const std::string& file = arguments.files.front();
  MotionFacts facts;
  Json answer = JsonHeader("motion info");
  answer["dof"] = nullptr;
  bool is_good = true;
  if (!arguments.dof.empty()) {
    BaUnlockedMapping mapping;
    is_good = Tell(arguments.dof, ReadMapping(arguments.dof, &mapping), &answer["dof"]);
    if (is_good) facts.driven = mapping.allDriven();
  }
  const bool is_read =
      Tell(file, ReadMotion(file, arguments.rate, &facts.motion), &answer["motion"]);
  if (is_read) {
    Gather(&facts);
    if (arguments.json) answer["motion"].update(MotionJson(facts));
    if (!arguments.json) PrintMotion(file, facts, std::cout);
  }
  if (arguments.json) PrintJson(answer, std::cout);
  return is_good && is_read ? kExitGood : kExitTrouble;
}
