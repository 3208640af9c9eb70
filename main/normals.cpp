#include "normals.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <numeric>

#include "Bt/bthash.h"
#include "accuracy.h"
#include "faces.h"

namespace {

using Vector = std::array<double, 3>;

// Points that lie closer than this part of the mesh's diagonal coincide: positions that two bodies
// share are rounded in each body's own space.
constexpr double kCoincidence = 1e-5;
// Edges of the cells of two grids in units of the coincidence distance. A point seldom has another
// one by chance in its cell of the wide grid, and seldom reaches over a border. A cell of the
// narrow one holds few points that do not coincide, five in each direction, however crowded points
// are.
constexpr double kWideCell = 16.0;
constexpr double kNarrowCell = 4.0;

Vector PointAt(const std::vector<double>& points, std::size_t i) {
  return {points[3 * i], points[3 * i + 1], points[3 * i + 2]};
}

void AddTo(std::vector<double>* sums, std::size_t i, const Vector& v) {
  for (std::size_t k = 0; k < 3; ++k) (*sums)[3 * i + k] += v[k];
}

std::size_t PointOfCorner(std::int32_t corner) {
  return static_cast<std::size_t>(corner < 0 ? -(corner + 1) : corner);
}

// Makes unit vectors of all; a vector without direction points up.
void Normalize(std::vector<double>* vectors) {
  for (std::size_t i = 0; i < vectors->size(); i += 3) {
    double* v = vectors->data() + i;
    const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (length > 0.0 && std::isfinite(length)) {
      for (int k = 0; k < 3; ++k) v[k] = NormalAccuracy(v[k] / length);
    } else {
      v[0] = v[2] = 0.0;
      v[1] = 1.0;
    }
  }
}

// Twice the area vector of the face whose corners are [first, last): the sum of cross products
// around its first corner, right for concave faces too.
Vector AreaVector(const Faces& faces, std::size_t first, std::size_t last) {
  const Vector origin = PointAt(faces.points, PointOfCorner(faces.corners[first]));
  Vector sum = {};
  Vector before = {};
  for (std::size_t i = first + 1; i < last; ++i) {
    Vector edge = PointAt(faces.points, PointOfCorner(faces.corners[i]));
    for (std::size_t k = 0; k < 3; ++k) edge[k] -= origin[k];
    sum[0] += before[1] * edge[2] - before[2] * edge[1];
    sum[1] += before[2] * edge[0] - before[0] * edge[2];
    sum[2] += before[0] * edge[1] - before[1] * edge[0];
    before = edge;
  }
  return sum;
}

// Calls visit(first corner, last corner + 1) for every face in order.
template <class Visit>
void ForEachFace(const Faces& faces, Visit visit) {
  std::size_t first = 0;
  for (std::size_t i = 0; i < faces.corners.size(); ++i) {
    if (faces.corners[i] >= 0) continue;
    visit(first, i + 1);
    first = i + 1;
  }
}

// A grid of cubic cells over a mesh's points. Each cell has a hash; so few bits of it are used that
// cells far apart may share one, which no file can bring about at will.
class Grid {
 public:
  // `distance` is that within which points coincide, `cell_size` an edge in units of it.
  Grid(const Vector& low, double distance, double cell_size)
      : _low(low),
        _scale(distance > 0.0 ? 1.0 / (cell_size * distance) : 0.0),
        _reach(distance * kWithRounding) {}

  [[nodiscard]] std::uint64_t cellOf(const Vector& p) const {
    return _hash(_place(p[0], 0), _place(p[1], 1), _place(p[2], 2));
  }
  // Calls visit(cell) for all cells within reach.
  template <class Visit>
  void forEachNear(const Vector& p, Visit visit) const {
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

  Vector _low;
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
      if (i + kAhead < crowded.size()) _expect(grid.cellOf(PointAt(_points, crowded[i + kAhead])));
      const std::uint32_t point = crowded[i];
      const Vector place = PointAt(_points, point);
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
    Vector place;
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
      grid.forEachNear(PointAt(_points, i), [&](std::uint64_t cell) {
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
  [[nodiscard]] std::uint32_t _find(const Grid& grid, const Vector& p) {
    std::uint32_t best = kNone;
    grid.forEachNear(p, [&](std::uint64_t cell) {
      for (std::uint32_t i = _bucket(cell); i != kNone; i = _standing[i].next) {
        if (i < best && _near(_standing[i].place, p)) best = i;
      }
    });
    return best;
  }

  [[nodiscard]] bool _near(const Vector& a, const Vector& b) const {
    return std::fabs(a[0] - b[0]) <= _distance && std::fabs(a[1] - b[1]) <= _distance &&
           std::fabs(a[2] - b[2]) <= _distance;
  }

  const std::vector<double>& _points;
  std::size_t _count;
  Vector _lowest = {};
  double _distance = 0.0;
  std::vector<std::uint32_t> _buckets;  // the first of each bucket's points in _standing
  std::vector<Standing> _standing;
};

// Every point gets the sum of all points that coincide with it.
void ShareSums(const Faces& faces, std::vector<double>* sums) {
  const std::vector<std::uint32_t> first = CoincidentPoints(faces.points).firstOfEach();
  for (std::size_t i = 0; i < first.size(); ++i) {
    if (first[i] != i) AddTo(sums, first[i], PointAt(*sums, i));
  }
  for (std::size_t i = 0; i < first.size(); ++i) {
    std::copy_n(sums->begin() + 3 * static_cast<std::ptrdiff_t>(first[i]), 3,
                sums->begin() + 3 * static_cast<std::ptrdiff_t>(i));
  }
}

}  // namespace

std::vector<double> SmoothNormals(const Faces& faces) {
  std::vector<double> normals(faces.points.size(), 0.0);
  ForEachFace(faces, [&](std::size_t first, std::size_t last) {
    const Vector area = AreaVector(faces, first, last);
    for (std::size_t i = first; i < last; ++i) {
      AddTo(&normals, PointOfCorner(faces.corners[i]), area);
    }
  });
  // The points of one part are already welded.
  if (faces.parts.size() > 1) ShareSums(faces, &normals);
  Normalize(&normals);
  return normals;
}

std::vector<double> FlatNormals(const Faces& faces) {
  std::vector<double> normals;
  normals.reserve(3 * faces.faceCount());
  ForEachFace(faces, [&](std::size_t first, std::size_t last) {
    const Vector area = AreaVector(faces, first, last);
    normals.insert(normals.end(), area.begin(), area.end());
  });
  Normalize(&normals);
  return normals;
}

std::vector<std::int32_t> FacePerCorner(const Faces& faces) {
  std::vector<std::int32_t> face_of_corner;
  face_of_corner.reserve(faces.corners.size());
  std::int32_t face = 0;
  for (const std::int32_t corner : faces.corners) {
    face_of_corner.push_back(face);
    if (corner < 0) ++face;
  }
  return face_of_corner;
}
