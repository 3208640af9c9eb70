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

// From one to the other; all 0 where one of them is not there.
Point FromTo(const std::optional<Point>& from, const std::optional<Point>& to) {
  return from && to ? *to - *from : Point{};
}

// From the feet to the hips.
Point UpOf(const std::vector<Joint>& joints) {
  return FromTo(MeanOf(joints, {"foot", "feet", "ankle", "paw", "hoof"}),
                MeanOf(joints, {"hip", "pelvis", "spine"}));
}

// Hips stand above feet, on two legs and on four.
void CheckUp(const CheckInput& input, Findings* findings) {
  const Point up = UpOf(JointsOf(input));
  const auto longest = std::ranges::max_element(up, {}, [](double c) { return std::fabs(c); });
  if (*longest == 0 || up[1] > 0.5 * std::fabs(*longest)) return;
  const char axis = "xyz"[longest - up.begin()];
  findings->add(Kind("lies-down"), PlaceOf(*input.bodies.front()),
                std::string("from the feet to the hips is ") + (*longest < 0 ? "-" : "") + axis +
                    "; an FBX has y up");
}

using Side = std::pair<std::string, int>;

// The letter before or behind a word that begins with a capital letter: "lThigh", "LThigh",
// "ThighL".
Side SideOfJoinedLetter(const std::string& name) {
  const auto is_upper = [&name](std::size_t i) {
    return i < name.size() && std::isupper(static_cast<unsigned char>(name[i])) != 0;
  };
  const auto is_lower = [&name](std::size_t i) {
    return i < name.size() && std::islower(static_cast<unsigned char>(name[i])) != 0;
  };
  const std::size_t last = name.size() - 1;
  std::size_t at = std::string::npos;
  if (is_upper(1) && is_lower(2)) at = 0;
  if (is_upper(last) && is_lower(last - 1)) at = last;
  const int letter = at > last ? 0 : std::tolower(static_cast<unsigned char>(name[at]));
  if (letter != 'l' && letter != 'r') return {name, 0};
  std::string rest = name;
  return {rest.replace(at, 1, "*"), letter == 'l' ? 1 : -1};
}

// A name without the word for its side, and that side: 1 for left, -1 for right, 0 for none.
Side SideOf(const std::string& name) {
  constexpr std::pair<const char*, int> kWords[] = {{"left", 1}, {"right", -1}, {"lft", 1},
                                                    {"rgt", -1}, {"lf_", 1},    {"rt_", -1}};
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
  return name.size() < 3 ? Side{name, 0} : SideOfJoinedLetter(name);
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
  const auto by_name = [](const Joint* a, const Joint* b) {
    return std::pair(a->name.size(), a->name) < std::pair(b->name.size(), b->name);
  };
  for (auto& [name, same] : sides) {
    std::ranges::sort(same.left, by_name);
    std::ranges::sort(same.right, by_name);
    if (same.left.size() != same.right.size()) continue;
    for (std::size_t i = 0; i < same.left.size(); ++i) {
      pairs.push_back({same.left[i], same.right[i]});
    }
  }
  return pairs;
}

// How far a joint is from its parent's.
double ReachOf(const Joint& joint) {
  return Length(OriginOf(Bt4X4DoubleMat(joint.body->transform())));
}

// Poses may differ, lengths do not.
void CheckLengths(const CheckInput& input, Findings* findings) {
  constexpr double kMostOff = 0.2;    // of the longer one
  constexpr double kLeastOff = 0.03;  // of the model's size
  if (findings->has(Kind("joint-off-bone"))) return;
  const std::vector<Joint> joints = JointsOf(input);
  Box box;
  for (const Joint& joint : joints) box.add(joint.at);
  for (const Pair& pair : PairsOf(joints)) {
    const double left = ReachOf(*pair.left);
    const double right = ReachOf(*pair.right);
    const double off = std::fabs(left - right);
    if (off <= kMostOff * std::max(left, right) || off <= kLeastOff * SizeOf(box)) continue;
    findings->add(
        Kind("sides-differ"), PlaceOf(*pair.left->body),
        "it is " + Short(left) + " away, " + Text(pair.right->body->name()) + " " + Short(right), 1,
        {false, "TRANSLATION"});
  }
}

// Most pairs are right; those that lie the other way are exchanged.
void CheckSides(const CheckInput& input, Findings* findings) {
  constexpr std::size_t kFewPairs = 3;
  constexpr double kSure = 0.7;  // cosine of an angle
  // What hangs from a joint that was moved is on the wrong side with it.
  if (findings->has(Kind("joint-off-bone")) || findings->has(Kind("sides-differ"))) return;
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
  // Toes point forwards.
  const Point forward = FromTo(MeanOf(joints, {"foot", "ankle"}), MeanOf(joints, {"toe"}));
  const Point left = Cross(UpOf(joints), forward);
  if (Dot(across, left) < -kSure * length * Length(left)) {
    findings->add(Kind("sides-exchanged"), PlaceOf(*pairs.front().left->body),
                  "as its toes point, all that is called left is on its right");
  }
  for (const Pair& pair : pairs) {
    const double apart = Dot(pair.left->at - pair.right->at, across) / length;
    if (apart >= -0.02 * widest) continue;
    findings->add(Kind("sides-exchanged"), PlaceOf(*pair.left->body),
                  "it lies on the right of " + Text(pair.right->body->name()) +
                      ", other pairs lie the other way");
  }
}

constexpr CheckRule kFigureRules[] = {CheckUp, CheckLengths, CheckSides};

}  // namespace

std::span<const CheckRule> FigureRules() { return kFigureRules; }
