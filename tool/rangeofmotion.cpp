#include "rangeofmotion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "Ba/bamotion.h"
#include "Bt/btexcept.h"
#include "Bt/bthash.h"
#include "messages.h"
#include "style.h"

namespace {

using Driven = BaUnlockedMapping::Driven;

// Beyond this a test is of no use to anyone.
constexpr double kMostValues = 1e8;

// One variable's turn.
struct Turn {
  int sysvar_id;
  bool one_sided;    // for sliders
  double amplitude;  // 0 where nothing moves
  std::string text;
};

Turn TurnOf(int sysvar_id, const std::vector<Driven>& driven, const BodyNames& names,
            const Swings& swings) {
  Turn turn = {sysvar_id, true, 0, DrivenText(driven, names)};
  for (const Driven& thing : driven) {
    if (thing.kind == Driven::Kind::TextureIndex || thing.factor == 0) continue;
    double amplitude = 1;
    if (thing.kind == Driven::Kind::Transform) {
      const bool is_rotation = thing.transform_id >= kBaFirstRotationId;
      amplitude = (is_rotation ? swings.angle : swings.distance) / std::abs(thing.factor);
      turn.one_sided = false;
    }
    turn.amplitude = turn.amplitude > 0 ? std::min(turn.amplitude, amplitude) : amplitude;
  }
  return turn;
}

// The driven variables in the order of their turns, each once.
std::vector<int> SysVarsInOrder(const BaUnlockedMapping& mapping, const std::vector<int>& order) {
  std::vector<int> ids;
  BtHashSet<int> known;
  const auto add = [&](int id) {
    if (known.insert(id).second) ids.push_back(id);
  };
  for (const int body_id : order) {
    if (const auto* map = mapping.bodyMap(body_id)) map->forEachSysVarId(add);
  }
  for (const auto& map : mapping.blendEffectMaps()) {
    for (const auto& slider : map.sliders) add(slider.sysvar_id);
  }
  return ids;
}

// From rest to one side, to the other and back, or from rest to 1 and back.
double ValueAt(const Turn& turn, int frame, int frames) {
  const double part = static_cast<double>(frame) / frames;
  const double angle = 2 * std::numbers::pi * part;
  const double wave = turn.one_sided ? (1 - std::cos(angle)) / 2 : std::sin(angle);
  const double value = turn.amplitude * wave;
  return 2 * frame % frames == 0 && !turn.one_sided ? 0 : value;
}

}  // namespace

bool MakeRangeOfMotion(const BaUnlockedMapping& mapping, const std::vector<int>& order,
                       const BodyNames& names, const Swings& swings, BaMotion* motion) {
  const std::map<int, std::vector<Driven>> driven = mapping.allDriven();
  std::vector<Turn> turns;
  for (const int id : SysVarsInOrder(mapping, order)) {
    const Turn turn = TurnOf(id, driven.at(id), names, swings);
    if (turn.amplitude > 0) turns.push_back(turn);
  }
  if (turns.empty()) return BtFail("The mapping has no variables that move anything.");
  // A multiple of four, so that frames show the ends.
  const double frames = 4 * std::max(1.0, std::ceil(swings.seconds * swings.rate / 4));
  const auto count = static_cast<double>(turns.size());
  if ((frames * count + 1) * count > kMostValues) {
    return BtFail("%.0f variables in %.0f frames are too many: give less seconds or a lower rate.",
                  count, frames * count + 1);
  }
  const auto num_frames = static_cast<int>(frames);
  std::vector<double> times(turns.size() * static_cast<std::size_t>(num_frames) + 1);
  for (std::size_t i = 0; i < times.size(); ++i) times[i] = BaFrameTime(0, swings.rate, i);
  motion->setTimes(times, swings.rate);
  motion->addComment("Range of motion: one variable after the other swings, the others rest at 0.");
  std::size_t first = 0;
  for (const Turn& turn : turns) {
    std::vector<float> values(times.size());
    for (int i = 0; i <= num_frames; ++i) {
      values[first + static_cast<std::size_t>(i)] =
          static_cast<float>(ValueAt(turn, i, num_frames));
    }
    motion->setValues(turn.sysvar_id, std::move(values));
    const std::size_t last = first + static_cast<std::size_t>(num_frames);
    const std::string comment = Short(times[first]) + " to " + Short(times[last]) + " s: v" +
                                std::to_string(turn.sysvar_id) + ": " + turn.text;
    motion->addComment(Printable(comment).c_str());
    first = last;
  }
  return true;
}
