#include "coincidentpoints.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>

#include "Bt/bthash.h"

namespace {

using Place = std::array<double, 3>;

// Points that lie closer than this part of the mesh's diagonal coincide: positions that two bodies
// share are rounded in each body's own space.
constexpr double kCoincidence = 1e-5;
// Edges of the cells of two grids in units of the coincidence distance. A point seldom has another
// one by chance in its cell of the wide grid, and seldom reaches over a border. A cell of the
// narrow one holds few points that do not coincide, five in each direction, however crowded points
// are.
constexpr double kWideCell = 16.0;
constexpr double kNarrowCell = 4.0;

Place PlaceAt(const std::vector<double>& points, std::size_t i) {
  return {points[3 * i], points[3 * i + 1], points[3 * i + 2]};
}

// A grid of cubic cells over a mesh's points. Each cell has a hash; so few bits of it are used that
// cells far apart may share one, which no file can bring about at will.
class Grid {
 public:
  // `distance` is that within which points coincide, `cell_size` an edge in units of it.
  Grid(const Place& low, double distance, double cell_size)
      : _low(low),
        _scale(distance > 0.0 ? 1.0 / (cell_size * distance) : 0.0),
        _reach(distance * kWithRounding) {}

  [[nodiscard]] std::uint64_t cellOf(const Place& p) const {
    return _hash(_place(p[0], 0), _place(p[1], 1), _place(p[2], 2));
  }
  // Calls visit(cell) for all cells within reach.
  template <class Visit>
  void forEachNear(const Place& p, Visit visit) const {
    const auto low = [&](std::size_t k) { return _place(p[k] - _reach, k); };
    const auto high = [&](std::size_t k) { return _place(p[k] + _reach, k); };
    for (int x = low(0); x <= high(0); ++x) {
      for (int y = low(1); y <= high(1); ++y) {
        for (int z = low(2); z <= high(2); ++z) visit(_hash(x, y, z));
      }
    }
  }

 private:
  // So much more than the distance is searched that no rounding leaves out a point at the end of
  // it.
  static constexpr double kWithRounding = 1.0 + 1e-6;

  // Cells count from 1: a point reaches one below the lowest of the mesh at most, so that cutting
  // off decimals is rounding down. The whole mesh spans less than a hundred thousand.
  [[nodiscard]] int _place(double coordinate, std::size_t k) const {
    return static_cast<int>((coordinate - _low[k]) * _scale + 1.0);
  }
  static std::uint64_t _hash(int x, int y, int z) {
    return BtHashOf(static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y),
                    static_cast<std::uint32_t>(z));
  }

  Place _low;
  double _scale;
  double _reach;
};

// Finds for each point the first point that coincides with it.
class CoincidentPoints {
 public:
  explicit CoincidentPoints(const std::vector<double>& points)
      : _points(points), _count(points.size() / 3) {
    _measure();
  }

  // Most points have no other one near them, which a few bits tell. A search among the others: a
  // narrow grid holds the points that stand for others; each stands in one cell and is searched for
  // in all cells within reach.
  std::vector<std::uint32_t> firstOfEach() {
    std::vector<std::uint32_t> first(_count);
    std::iota(first.begin(), first.end(), 0U);
    const std::vector<std::uint32_t> crowded = _crowdedPoints();
    const Grid grid(_lowest, _distance, kNarrowCell);
    _buckets.assign(std::bit_ceil(2 * crowded.size() + 1), kNone);
    for (std::size_t i = 0; i < crowded.size(); ++i) {
      if (i + kAhead < crowded.size()) _expect(grid.cellOf(PlaceAt(_points, crowded[i + kAhead])));
      const std::uint32_t point = crowded[i];
      const Place place = PlaceAt(_points, point);
      const std::uint32_t found = _find(grid, place);
      if (found != kNone) {
        first[point] = _standing[found].point;
        continue;
      }
      std::uint32_t& head = _bucket(grid.cellOf(place));
      _standing.push_back({place, point, head});
      head = static_cast<std::uint32_t>(_standing.size() - 1);
    }
    return first;
  }

 private:
  static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();
  // How many points ahead memory is asked for.
  static constexpr std::size_t kAhead = 8;

  // A point that stands for those that coincide with it.
  struct Standing {
    Place place;
    std::uint32_t point;
    std::uint32_t next;  // of the same bucket, in _standing
  };

  // Finds the corner that the grids start from and the distance within which points coincide.
  void _measure() {
    double square = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
      double low = std::numeric_limits<double>::max();
      double high = std::numeric_limits<double>::lowest();
      for (std::size_t i = k; i < _points.size(); i += 3) {
        low = std::min(low, _points[i]);
        high = std::max(high, _points[i]);
      }
      _lowest[k] = low;
      if (high > low) square += (high - low) * (high - low);
    }
    _distance = kCoincidence * std::sqrt(square);
  }

  // The points, in order, that share a cell within their reach with another point, and some more.
  // Each step walks through memory in a row or through little of it.
  [[nodiscard]] std::vector<std::uint32_t> _crowdedPoints() const {
    // Two bits for each hash of a cell: one point was here, and a second one. A hash becomes the
    // number of a word and the place of the bits in it.
    const std::size_t words = std::bit_ceil(_count / 4 + 1);
    constexpr unsigned kPlaceBits = 5;
    const Grid grid(_lowest, _distance, kWideCell);
    std::vector<std::uint64_t> cells;
    cells.reserve(_count + _count / 2);
    std::vector<std::uint8_t> n_cells(_count);  // of each point: two in each direction at most
    for (std::size_t i = 0; i < _count; ++i) {
      grid.forEachNear(PlaceAt(_points, i), [&](std::uint64_t cell) {
        cells.push_back(cell);
        ++n_cells[i];
      });
    }
    std::vector<std::uint64_t> seen(words);
    const auto word = [&](std::uint64_t cell) -> std::uint64_t& {
      return seen[cell & (words - 1)];
    };
    const auto first_bit = [](std::uint64_t cell) {
      return std::uint64_t{1} << (cell >> (64U - kPlaceBits) << 1U);
    };
    for (const std::uint64_t cell : cells) {
      std::uint64_t& bits = word(cell);
      bits |= (bits & first_bit(cell)) << 1U | first_bit(cell);
    }
    std::vector<std::uint32_t> crowded;
    const std::uint64_t* cell = cells.data();
    for (std::size_t i = 0; i < _count; ++i) {
      bool shares = false;
      for (const std::uint64_t* const end = cell + n_cells[i]; cell != end; ++cell) {
        shares = shares || (word(*cell) & first_bit(*cell) << 1U) != 0;
      }
      if (shares) crowded.push_back(static_cast<std::uint32_t>(i));
    }
    return crowded;
  }

  [[nodiscard]] std::uint32_t& _bucket(std::uint64_t cell) {
    return _buckets[cell & (_buckets.size() - 1)];
  }

  // Tells the processor that a cell is about to be searched.
  void _expect(std::uint64_t cell) { __builtin_prefetch(&_bucket(cell)); }

  // The place in _standing of the first point that coincides with `p`.
  [[nodiscard]] std::uint32_t _find(const Grid& grid, const Place& p) {
    std::uint32_t best = kNone;
    grid.forEachNear(p, [&](std::uint64_t cell) {
      for (std::uint32_t i = _bucket(cell); i != kNone; i = _standing[i].next) {
        if (i < best && _near(_standing[i].place, p)) best = i;
      }
    });
    return best;
  }

  [[nodiscard]] bool _near(const Place& a, const Place& b) const {
    return std::fabs(a[0] - b[0]) <= _distance && std::fabs(a[1] - b[1]) <= _distance &&
           std::fabs(a[2] - b[2]) <= _distance;
  }

  const std::vector<double>& _points;
  std::size_t _count;
  Place _lowest = {};
  double _distance = 0.0;
  std::vector<std::uint32_t> _buckets;  // the first of each bucket's points in _standing
  std::vector<Standing> _standing;
};

}  // namespace

std::vector<std::uint32_t> FirstCoincident(const std::vector<double>& points) {
  return CoincidentPoints(points).firstOfEach();
}
