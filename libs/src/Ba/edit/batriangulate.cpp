// Triangulation by cutting ears: a corner is an ear when it is convex and no other corner lies in
// the triangle that it forms with its neighbours.

#include "Ba/batriangulate.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "baobstacletree.h"

namespace {

using Point2 = BaPlanePoint;
using Vector3 = std::array<double, 3>;

Vector3 PositionOf(const BaVertex& vertex) {
  const float* p = vertex.position();
  return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

double Dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector3 Cross(const Vector3& a, const Vector3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

// False for a vector that has no direction.
bool Normalize(Vector3* v) {
  const double length = std::hypot((*v)[0], (*v)[1], (*v)[2]);
  if (!(length > 0) || !std::isfinite(length)) return false;
  for (double& component : *v) component /= length;
  return true;
}

// Positions relative to the first one, where rounding hurts least.
std::vector<Vector3> Offsets(const BtArray<BaVertex>& corners) {
  std::vector<Vector3> offsets;
  offsets.reserve(static_cast<std::size_t>(corners.size()));
  const Vector3 origin = PositionOf(corners[0]);
  for (const BaVertex& corner : corners) {
    const Vector3 p = PositionOf(corner);
    offsets.push_back({p[0] - origin[0], p[1] - origin[1], p[2] - origin[2]});
  }
  return offsets;
}

// Lays the polygon into its plane so that it runs counterclockwise there. False when it has no
// area.
bool Flatten(const BtArray<BaVertex>& corners, std::vector<Point2>* points) {
  const std::vector<Vector3> offsets = Offsets(corners);
  Vector3 normal = {};
  for (std::size_t i = 0; i < offsets.size(); ++i) {
    const Vector3 part = Cross(offsets[i], offsets[(i + 1) % offsets.size()]);
    for (std::size_t c = 0; c < 3; ++c) normal[c] += part[c];
  }
  if (!Normalize(&normal)) return false;
  Vector3 helper = {};
  const auto smallest = std::min_element(
      normal.begin(), normal.end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
  helper[static_cast<std::size_t>(smallest - normal.begin())] = 1;
  Vector3 u = Cross(helper, normal);
  if (!Normalize(&u)) return false;
  const Vector3 v = Cross(normal, u);
  points->reserve(offsets.size());
  for (const Vector3& offset : offsets) points->push_back({Dot(offset, u), Dot(offset, v)});
  return true;
}

// The sine of the turn from a to b to c, times the lengths of both ways, and these lengths.
struct Turn {
  double cross;
  double lengths;
};

Turn TurnAt(const Point2& a, const Point2& b, const Point2& c) {
  const Point2 in = {b.x - a.x, b.y - a.y};
  const Point2 out = {c.x - b.x, c.y - b.y};
  return {in.x * out.y - in.y * out.x,
          std::sqrt((in.x * in.x + in.y * in.y) * (out.x * out.x + out.y * out.y))};
}

bool IsLeft(const Point2& a, const Point2& b, const Point2& c) {
  const Turn turn = TurnAt(a, b, c);
  return turn.cross > kBaStraight * turn.lengths;
}

bool IsRight(const Point2& a, const Point2& b, const Point2& c) {
  const Turn turn = TurnAt(a, b, c);
  return turn.cross < -kBaStraight * turn.lengths;
}

class EarCutter {
 public:
  explicit EarCutter(std::vector<Point2> points);
  std::vector<BaTriangle> run();

 private:
  using Index = std::size_t;

  [[nodiscard]] bool _isEar(Index corner);
  [[nodiscard]] bool _isFree(const std::array<Index, 3>& ear);
  void _cutRound();
  void _cut(Index corner);
  void _update(Index corner);
  void _collectAll();
  void _cutSome();

  std::vector<Point2> _points;
  std::vector<Index> _next;
  std::vector<Index> _previous;
  std::vector<char> _cut_off;
  std::vector<char> _convex;
  BaObstacleTree _obstacles;  // what is not convex and was not at first
  std::vector<BaTriangle> _triangles;
  Index _left;  // how many corners
  Index _any = 0;

  // The corners to look at in this round and in the next one. A corner whose neighbour was cut off
  // waits for the next round, so that the triangles of a round lie side by side and not in a fan.
  std::vector<Index> _round;
  std::vector<Index> _next_round;
  std::vector<Index> _waits_for;
  Index _round_number = 0;

  // Outlines that cross themselves might be searched in vain over and over. When the budget is
  // spent everything counts as an ear.
  long long _budget;
};

EarCutter::EarCutter(std::vector<Point2> points)
    : _points(std::move(points)),
      _next(_points.size()),
      _previous(_points.size()),
      _cut_off(_points.size(), 0),
      _convex(_points.size(), 0),
      _left(_points.size()),
      _waits_for(_points.size(), 0),
      _budget(1'000'000 + 200 * static_cast<long long>(_points.size())) {
  for (Index i = 0; i < _left; ++i) {
    _next[i] = i + 1 < _left ? i + 1 : 0;
    _previous[_next[i]] = i;
  }
  std::vector<Index> obstacles;
  for (Index i = 0; i < _left; ++i) {
    _update(i);
    if (_convex[i] == 0) obstacles.push_back(i);
  }
  _obstacles.build(&_points, std::move(obstacles));
}

std::vector<BaTriangle> EarCutter::run() {
  _triangles.reserve(_left - 2);
  _collectAll();
  while (_left > 2) {
    const Index left_before = _left;
    _cutRound();
    if (_left == left_before && _round.size() >= _left) _cutSome();
    if (_left < left_before) {
      _round.swap(_next_round);
    } else {
      // Away from the last cuts obstacles may be gone.
      _collectAll();
    }
  }
  return std::move(_triangles);
}

void EarCutter::_collectAll() {
  _round.clear();
  while (_cut_off[_any] != 0) _any = _next[_any];
  Index corner = _any;
  do {
    _round.push_back(corner);
    corner = _next[corner];
  } while (corner != _any);
}

void EarCutter::_cutRound() {
  ++_round_number;
  _next_round.clear();
  for (const Index corner : _round) {
    if (_left == 2) return;
    if (_cut_off[corner] == 0 && _waits_for[corner] != _round_number && _isEar(corner))
      _cut(corner);
  }
}

// No ear is left, so the outline crosses or touches itself: the next best corner goes.
void EarCutter::_cutSome() {
  const auto convex = std::find_if(_round.begin(), _round.end(),
                                   [this](Index corner) { return _convex[corner] != 0; });
  _cut(convex == _round.end() ? _round.front() : *convex);
}

void EarCutter::_cut(Index corner) {
  const Index before = _previous[corner];
  const Index after = _next[corner];
  _triangles.push_back(
      {static_cast<int>(before), static_cast<int>(corner), static_cast<int>(after)});
  _next[before] = after;
  _previous[after] = before;
  _cut_off[corner] = 1;
  _obstacles.remove(corner);
  --_left;
  for (const Index neighbour : {before, after}) {
    _update(neighbour);
    if (_convex[neighbour] != 0) _obstacles.remove(neighbour);
    if (_waits_for[neighbour] == _round_number) continue;
    _waits_for[neighbour] = _round_number;
    _next_round.push_back(neighbour);
  }
}

void EarCutter::_update(Index corner) {
  const bool convex = IsLeft(_points[_previous[corner]], _points[corner], _points[_next[corner]]);
  _convex[corner] = convex ? 1 : 0;
}

bool EarCutter::_isEar(Index corner) {
  if (_left == 3 || _budget <= 0) return true;
  --_budget;
  return _convex[corner] != 0 && _isFree({_previous[corner], corner, _next[corner]});
}

// True when no obstacle lies in the triangle or on its sides.
bool EarCutter::_isFree(const std::array<Index, 3>& ear) {
  const std::array<Point2, 3> triangle = {_points[ear[0]], _points[ear[1]], _points[ear[2]]};
  const Point2& a = triangle[0];
  const Point2& b = triangle[1];
  const Point2& c = triangle[2];
  return !_obstacles.findIn(triangle, &_budget, [&](Index obstacle) {
    if (_cut_off[obstacle] != 0 || _convex[obstacle] != 0) return false;
    const Point2& p = _points[obstacle];
    // An outline may pass its own corners, as where a slit leads to a hole.
    if (p == a || p == b || p == c) return false;
    return !IsRight(a, b, p) && !IsRight(b, c, p) && !IsRight(c, a, p);
  });
}

}  // namespace

std::vector<BaTriangle> BaTriangulate(const BtArray<BaVertex>& corners) {
  BtAssert(corners.size() >= 3);
  std::vector<Point2> points;
  if (Flatten(corners, &points)) return EarCutter(std::move(points)).run();
  std::vector<BaTriangle> fan;
  for (int i = 2; i < corners.size(); ++i) fan.push_back({0, i - 1, i});
  return fan;
}
