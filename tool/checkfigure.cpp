// The rules of "check" that guess from the names of bodies: which way is up, which side is left.
#include <cctype>
#include <cmath>
#include <map>
#include <optional>

#include "checkrules.h"
#include "style.h"

namespace {

bool HoldsAny(const std::string& name, std::initializer_list<const char*> words) {
  return std::ranges::any_of(
      words, [&name](const char* word) { return name.find(word) != std::string::npos; });
}

struct Joint {
  const BaBody* body;
  std::string name;  // in lower case
  Point at;          // in the world
};

std::vector<Joint> JointsOf(const CheckInput& input) {
  const WorldTransforms worlds = WorldTransformsOf(input.model);
  std::vector<Joint> joints;
  for (const BaBody* body : input.bodies) {
    const Bt4X4DoubleMat& world = worlds.at(body->id());
    joints.push_back({body, LowerCase(Text(body->name())), OriginOf(world)});
  }
  return joints;
}

// The mean place of the joints that have one of the words in their names.
std::optional<Point> MeanOf(const std::vector<Joint>& joints,
                            std::initializer_list<const char*> words) {
  Point sum = {};
  int count = 0;
  for (const Joint& joint : joints) {
    if (!HoldsAny(joint.name, words)) continue;
    for (std::size_t c = 0; c < 3; ++c) sum[c] += joint.at[c];
    ++count;
  }
  if (count == 0) return {};
  for (double& c : sum) c /= count;
  return sum;
}

// Hips stand above feet, on two legs and on four.
void CheckUp(const CheckInput& input, Findings* findings) {
  const std::vector<Joint> joints = JointsOf(input);
  const auto feet = MeanOf(joints, {"foot", "feet", "ankle", "paw", "hoof"});
  const auto hips = MeanOf(joints, {"hip", "pelvis", "spine"});
  if (!feet || !hips) return;
  const Point up = *hips - *feet;
  const auto longest = std::ranges::max_element(up, {}, [](double c) { return std::fabs(c); });
  if (*longest == up[1] || *longest == 0) return;
  if (up[1] > 0.5 * std::fabs(*longest)) return;
  const char axis = "xyz"[longest - up.begin()];
  findings->add(Kind("lies-down"), PlaceOf(*input.bodies.front()),
                std::string("from the feet to the hips is ") + (*longest < 0 ? "-" : "") + axis +
                    "; an FBX has y up");
}

// A name without the word for its side, and that side: 1 for left, -1 for right, 0 for none.
std::pair<std::string, int> SideOf(const std::string& name) {
  constexpr std::pair<const char*, int> kWords[] = {{"left", 1}, {"right", -1}};
  for (const auto& [word, side] : kWords) {
    const std::size_t at = LowerCase(name).find(word);
    if (at == std::string::npos) continue;
    std::string rest = name;
    return {rest.replace(at, std::string_view(word).size(), "*"), side};
  }
  // A letter of its own: "arm_L", "L_arm", "arm.l.001".
  const auto is_border = [&name](std::size_t i) {
    return i >= name.size() || std::isalnum(static_cast<unsigned char>(name[i])) == 0;
  };
  for (std::size_t i = 0; i < name.size(); ++i) {
    const int letter = std::tolower(static_cast<unsigned char>(name[i]));
    if ((letter != 'l' && letter != 'r') || !is_border(i + 1) || (i > 0 && !is_border(i - 1)))
      continue;
    std::string rest = name;
    return {rest.replace(i, 1, "*"), letter == 'l' ? 1 : -1};
  }
  return {name, 0};
}

struct Pair {
  const Joint* left;
  const Joint* right;
};

// Numbers in names count through both sides: they are not part of what partners share.
std::string WithoutNumbers(std::string name) {
  std::erase_if(name, [](unsigned char c) { return std::isdigit(c) != 0; });
  return name;
}

std::vector<Pair> PairsOf(const std::vector<Joint>& joints) {
  struct Sides {
    std::vector<const Joint*> left;
    std::vector<const Joint*> right;
  };
  std::map<std::string, Sides> sides;
  for (const Joint& joint : joints) {
    const auto& [name, side] = SideOf(Text(joint.body->name()));
    if (side == 0) continue;
    Sides& same = sides[WithoutNumbers(name)];
    (side > 0 ? same.left : same.right).push_back(&joint);
  }
  std::vector<Pair> pairs;
  for (const auto& [name, same] : sides) {
    if (same.left.size() != same.right.size()) continue;
    for (std::size_t i = 0; i < same.left.size(); ++i) {
      pairs.push_back({same.left[i], same.right[i]});
    }
  }
  return pairs;
}

// Most pairs are right; those that lie the other way are exchanged.
void CheckSides(const CheckInput& input, Findings* findings) {
  constexpr std::size_t kFewPairs = 3;
  const std::vector<Joint> joints = JointsOf(input);
  const std::vector<Pair> pairs = PairsOf(joints);
  if (pairs.size() < kFewPairs) return;
  Point across = {};
  double widest = 0;
  for (const Pair& pair : pairs) {
    const Point apart = pair.left->at - pair.right->at;
    for (std::size_t c = 0; c < 3; ++c) across[c] += apart[c];
    widest = std::max(widest, Length(apart));
  }
  const double length = Length(across);
  if (length == 0) return;
  for (const Pair& pair : pairs) {
    const double apart = Dot(pair.left->at - pair.right->at, across) / length;
    if (apart >= -0.02 * widest) continue;
    findings->add(Kind("sides-exchanged"), PlaceOf(*pair.left->body),
                  "it lies on the right of " + Text(pair.right->body->name()) +
                      ", other pairs lie the other way");
  }
}

constexpr CheckRule kFigureRules[] = {CheckUp, CheckSides};

}  // namespace

std::span<const CheckRule> FigureRules() { return kFigureRules; }
