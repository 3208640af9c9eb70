#include "joinbodies.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <span>
#include <tuple>

#include "Bt/bthash.h"
#include "Bt/btindextable.h"
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

// A node or a slider, and how far a point follows it: a weight, or an offset of three numbers.
// They stay where they are, for points that meet come by the million.
struct Pull {
  const double* amount;
  std::uint32_t by;  // number of the node, or place of the slider
  bool is_slider;
};

bool IsAlike(const Pull& a, const Pull& b) {
  if (a.is_slider != b.is_slider || a.by != b.by) return false;
  if (!a.is_slider) return std::fabs(*a.amount - *b.amount) <= kSameWeight;
  const auto length = [](const Pull& p) {
    return std::hypot(p.amount[0], p.amount[1], p.amount[2]);
  };
  const double most = kSameOffset * std::max(length(a), length(b));
  return std::equal(a.amount, a.amount + 3, b.amount,
                    [most](double x, double y) { return std::fabs(x - y) <= most; });
}

std::vector<bool> HaveOthers(const std::vector<std::uint32_t>& first) {
  std::vector<bool> have_others(first.size());
  for (std::uint32_t i = 0; i < first.size(); ++i) {
    if (first[i] != i) have_others[i] = have_others[first[i]] = true;
  }
  return have_others;
}

// What moves the points that have others at their place.
class Pulls {
 public:
  // They are counted by point before they are put there.
  Pulls(const std::vector<bool>& has_others, const MeshPoints& mesh)
      : _starts(has_others.size() + 2) {
    _forEach(has_others, mesh, [this](std::size_t point, const Pull&) { ++_starts[point + 2]; });
    std::partial_sum(_starts.begin(), _starts.end(), _starts.begin());
    _pulls.resize(_starts.back());
    _forEach(has_others, mesh,
             [this](std::size_t point, const Pull& pull) { _pulls[_starts[point + 1]++] = pull; });
    for (std::size_t point = 0; point < has_others.size(); ++point) {
      if (!has_others[point]) continue;
      const std::span<Pull> pulls =
          std::span(_pulls).subspan(_starts[point], _starts[point + 1] - _starts[point]);
      std::sort(pulls.begin(), pulls.end(), [](const Pull& a, const Pull& b) {
        return std::tie(a.is_slider, a.by) < std::tie(b.is_slider, b.by);
      });
    }
  }

  // Those of a point.
  [[nodiscard]] std::span<const Pull> of(std::uint32_t point) const {
    return std::span(_pulls).subspan(_starts[point], _starts[point + 1] - _starts[point]);
  }

 private:
  template <class Visit>
  static void _forEach(const std::vector<bool>& has_others, const MeshPoints& mesh, Visit visit) {
    for (const Influence& influence : mesh.weights->influences) {
      const auto point = static_cast<std::size_t>(influence.point);
      if (!has_others[point] || influence.weight <= kSameWeight) continue;
      visit(point, {&influence.weight, static_cast<std::uint32_t>(influence.node), false});
    }
    for (const auto& [slider, offsets] : *mesh.offsets) {
      for (const auto& [index, offset] : offsets) {
        const auto point = static_cast<std::size_t>(index);
        if (!has_others[point] || offset == std::array<double, 3>{}) continue;
        visit(point, {offset.data(), static_cast<std::uint32_t>(slider), true});
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
        _has_others(HaveOthers(first)),
        _pulls(_has_others, mesh),
        _stands_for(first.size()),
        _n_kinds(first.size()),
        _last_body(first.size()) {
    // Without room for all from the start the kinds of one place would change their order.
    _kinds.reserve(
        static_cast<std::size_t>(std::count(_has_others.begin(), _has_others.end(), true)));
    const std::vector<Faces::Part>& parts = mesh.faces->parts;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const auto begin = static_cast<std::uint32_t>(parts[i].first_point);
      const auto end = i + 1 < parts.size() ? static_cast<std::uint32_t>(parts[i + 1].first_point)
                                            : static_cast<std::uint32_t>(first.size());
      for (std::uint32_t point = begin; point < end; ++point) {
        _stands_for[point] = _has_others[point] ? _join(point, parts[i].body) : point;
      }
    }
  }

  // By point; a point that stands names itself, and stands before those that it stands for.
  [[nodiscard]] const std::vector<std::uint32_t>& standing() const { return _stands_for; }

 private:
  // The point that stands for this one: itself, where there is none of its kind.
  std::uint32_t _join(std::uint32_t point, int body) {
    const std::uint32_t place = _first[point];
    const std::span<const Pull> pulls = _pulls.of(point);
    std::uint64_t hash = place;
    for (const Pull& pull : pulls) {
      hash = BtHashOf(static_cast<std::uint32_t>(hash), static_cast<std::uint32_t>(hash >> 32U),
                      2 * pull.by + (pull.is_slider ? 1 : 0));
    }
    const auto is_alike = [&](int i) {
      const auto other = static_cast<std::uint32_t>(i);
      const std::span<const Pull> of_other = _pulls.of(other);
      // Bodies come one after the other, and what is apart within one of them stays apart.
      return _first[other] == place && _last_body[other] != body &&
             std::equal(pulls.begin(), pulls.end(), of_other.begin(), of_other.end(), IsAlike);
    };
    const int number = static_cast<int>(point);
    const int found = _n_kinds[place] < kMostKinds ? _kinds.findOrInsert(hash, is_alike, number)
                                                   : _kinds.find(hash, is_alike);
    const auto standing = found < 0 ? point : static_cast<std::uint32_t>(found);
    if (found == number) ++_n_kinds[place];
    _last_body[standing] = body;
    return standing;
  }

  const std::vector<std::uint32_t>& _first;
  std::vector<bool> _has_others;
  Pulls _pulls;
  std::vector<std::uint32_t> _stands_for;
  BtIndexTable _kinds;                 // points, by their place and what moves them
  std::vector<std::uint8_t> _n_kinds;  // of each place, by its first point
  std::vector<int> _last_body;         // of those that a point stands for
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
