#include "joinbodies.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <tuple>

#include "faces.h"

namespace {

// Weights come from texts with six decimals, and one of them may be what others leave of 1, or a
// rest of it that is none.
constexpr double kSameWeight = 1e-5;
// Offsets of two bodies are rounded in the space of each; a part of their length.
constexpr double kSameOffset = 1e-4;
// So many kinds of points at one place are told apart. Models have two or three, and what does not
// find its like among so many stays by itself.
constexpr int kMostKinds = 32;
constexpr std::uint32_t kNoPoint = std::numeric_limits<std::uint32_t>::max();

// A node or a slider, and how far a point follows it.
struct Pull {
  std::uint32_t point;
  bool is_slider;
  std::size_t by;                // number of the node, or place of the slider
  std::array<double, 3> amount;  // an offset; of a weight the first number
};

bool IsAlike(const Pull& a, const Pull& b) {
  if (a.is_slider != b.is_slider || a.by != b.by) return false;
  double most = kSameWeight;
  if (a.is_slider) {
    const auto length = [](const Pull& p) {
      return std::hypot(p.amount[0], p.amount[1], p.amount[2]);
    };
    most = kSameOffset * std::max(length(a), length(b));
  }
  return std::equal(a.amount.begin(), a.amount.end(), b.amount.begin(),
                    [most](double x, double y) { return std::fabs(x - y) <= most; });
}

// What moves the points that have others at their place.
class Pulls {
 public:
  Pulls(const std::vector<std::uint32_t>& first, const MeshPoints& mesh) {
    std::vector<bool> has_others(first.size());
    for (std::uint32_t i = 0; i < first.size(); ++i) {
      if (first[i] != i) has_others[i] = has_others[first[i]] = true;
    }
    _addWeights(*mesh.weights, has_others);
    for (const auto& [slider, offsets] : *mesh.offsets) _addSlider(slider, offsets, has_others);
    std::sort(_pulls.begin(), _pulls.end(), [](const Pull& a, const Pull& b) {
      return std::tie(a.point, a.is_slider, a.by) < std::tie(b.point, b.is_slider, b.by);
    });
    _starts.reserve(first.size() + 1);
    for (std::size_t point = 0, place = 0; point <= first.size(); ++point) {
      while (place < _pulls.size() && _pulls[place].point < point) ++place;
      _starts.push_back(place);
    }
  }

  // Those of a point. Not searched for: where many bodies meet, each point asks for many others.
  [[nodiscard]] std::span<const Pull> of(std::uint32_t point) const {
    return std::span(_pulls).subspan(_starts[point], _starts[point + 1] - _starts[point]);
  }

 private:
  void _addWeights(const SkinWeights& weights, const std::vector<bool>& has_others) {
    for (const Influence& influence : weights.influences) {
      const auto point = static_cast<std::uint32_t>(influence.point);
      if (!has_others[point] || influence.weight <= kSameWeight) continue;
      _pulls.push_back(
          {point, false, static_cast<std::size_t>(influence.node), {influence.weight, 0, 0}});
    }
  }

  void _addSlider(std::size_t slider, const PointOffsets& offsets,
                  const std::vector<bool>& has_others) {
    for (const auto& [index, offset] : offsets) {
      const auto point = static_cast<std::uint32_t>(index);
      if (has_others[point] && offset != std::array<double, 3>{}) {
        _pulls.push_back({point, true, slider, offset});
      }
    }
  }

  std::vector<Pull> _pulls;
  std::vector<std::size_t> _starts;  // of each point in _pulls, and the end
};

// Finds for each point the one that stands for it from now on.
class Joiner {
 public:
  Joiner(const std::vector<std::uint32_t>& first, const MeshPoints& mesh)
      : _first(first),
        _pulls(first, mesh),
        _stands_for(first.size()),
        _next(first.size(), kNoPoint),
        _last_body(first.size()) {
    const std::vector<Faces::Part>& parts = mesh.faces->parts;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const auto begin = static_cast<std::uint32_t>(parts[i].first_point);
      const auto end = i + 1 < parts.size() ? static_cast<std::uint32_t>(parts[i + 1].first_point)
                                            : static_cast<std::uint32_t>(first.size());
      for (std::uint32_t point = begin; point < end; ++point) _join(point, parts[i].body);
    }
  }

  // By point; a point that stands names itself, and stands before those that it stands for.
  [[nodiscard]] const std::vector<std::uint32_t>& standing() const { return _stands_for; }

 private:
  void _join(std::uint32_t point, int body) {
    _stands_for[point] = point;
    _last_body[point] = body;
    if (_first[point] == point) return;
    const std::span<const Pull> pulls = _pulls.of(point);
    std::uint32_t last = _first[point];
    int kinds = 0;
    for (std::uint32_t other = last; other != kNoPoint; other = _next[other]) {
      last = other;
      ++kinds;
      const std::span<const Pull> of_other = _pulls.of(other);
      // Bodies come one after the other, and what is apart within one of them stays apart.
      if (_last_body[other] == body ||
          !std::equal(pulls.begin(), pulls.end(), of_other.begin(), of_other.end(), IsAlike)) {
        continue;
      }
      _stands_for[point] = other;
      _last_body[other] = body;
      return;
    }
    if (kinds < kMostKinds) _next[last] = point;
  }

  const std::vector<std::uint32_t>& _first;
  Pulls _pulls;
  std::vector<std::uint32_t> _stands_for;
  std::vector<std::uint32_t> _next;  // of the points that stand at one place
  std::vector<int> _last_body;       // of those that a point stands for
};

// Keeps of a list with three numbers for each point those of the points that stand.
void KeepStanding(const std::vector<std::uint32_t>& standing, std::vector<double>* numbers) {
  auto kept = numbers->begin();
  for (std::size_t i = 0; i < standing.size(); ++i) {
    if (standing[i] != i) continue;
    kept = std::copy_n(numbers->begin() + 3 * static_cast<std::ptrdiff_t>(i), 3, kept);
  }
  numbers->erase(kept, numbers->end());
}

// The number of a point, or of the point of a corner that ends a polygon, in the new count.
std::int32_t NewCorner(const std::vector<std::int32_t>& number, std::int32_t corner) {
  const bool is_last = corner < 0;
  const std::int32_t point = is_last ? ~corner : corner;
  const std::int32_t now = number[static_cast<std::size_t>(point)];
  return is_last ? ~now : now;
}

}  // namespace

void JoinBodies(const std::vector<std::uint32_t>& first, const MeshPoints& mesh) {
  if (first.empty()) return;
  const Joiner joiner(first, mesh);
  const std::vector<std::uint32_t>& standing = joiner.standing();
  mesh.faces->parts.clear();
  std::vector<std::int32_t> number(standing.size());  // in the new count
  std::int32_t count = 0;
  for (std::size_t i = 0; i < standing.size(); ++i) {
    number[i] = standing[i] == i ? count++ : number[standing[i]];
  }
  if (static_cast<std::size_t>(count) == standing.size()) return;
  const auto is_gone = [&](std::int32_t point) {
    return standing[static_cast<std::size_t>(point)] != static_cast<std::uint32_t>(point);
  };
  KeepStanding(standing, &mesh.faces->points);
  if (!mesh.normals->empty()) KeepStanding(standing, mesh.normals);
  for (std::int32_t& corner : mesh.faces->corners) corner = NewCorner(number, corner);
  std::vector<Influence>& influences = mesh.weights->influences;
  std::erase_if(influences, [&](const Influence& influence) { return is_gone(influence.point); });
  for (Influence& influence : influences) {
    influence.point = number[static_cast<std::size_t>(influence.point)];
  }
  for (auto& [slider, offsets] : *mesh.offsets) {
    PointOffsets kept;
    for (const auto& [point, offset] : offsets) {
      if (!is_gone(point)) {
        kept.emplace_hint(kept.end(), number[static_cast<std::size_t>(point)], offset);
      }
    }
    offsets = std::move(kept);
  }
}
