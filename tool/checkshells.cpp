// The rule of "check" about closed shells that are inside out.
#include <cmath>
#include <cstdint>
#include <numeric>

#include "Bt/bthash.h"
#include "checkrules.h"
#include "style.h"

namespace {

constexpr double kGrid = 1e-5;       // of the model's size: positions this near are one
constexpr double kMostOpen = 0.1;    // of a shell's area may look to one side without another
constexpr double kLeastBulk = 0.01;  // of a ball's surface to its volume, about a tenth of it
constexpr int kFewestFaces = 4;

// Faces that hang together by their corners, whatever body they are on.
struct Shell {
  int faces = 0;
  Point area_sum = {};  // of the faces' normals, twice as long as their areas
  double area = 0;      // twice
  double volume = 0;    // six times, signed
  Box box;
  const BaBody* body = nullptr;  // of its first face
  std::array<float, 3> corner = {};
};

// Numbers places and joins those that a face touches.
class Joiner {
 public:
  Joiner(const Point& low, double grid) : _low(low), _grid(grid) {}
  int placeOf(const Point& p) {
    // The grid has fewer lines than that in each direction.
    constexpr unsigned kBits = 21;
    std::uint64_t key = 0;
    const Point offset = p - _low;
    for (const double c : offset) {
      key = key << kBits | static_cast<std::uint64_t>(std::llround(c / _grid));
    }
    const auto [entry, is_new] = _places.try_emplace(key, static_cast<int>(_roots.size()));
    if (is_new) _roots.push_back(entry->second);
    return entry->second;
  }
  int rootOf(int place) {
    while (_at(place) != place) place = _at(place) = _at(_at(place));
    return place;
  }
  void join(int a, int b) { _at(rootOf(a)) = rootOf(b); }

 private:
  int& _at(int place) { return _roots[static_cast<std::size_t>(place)]; }

  Point _low;  // of the box around all places
  double _grid;
  BtHashMap<std::uint64_t, int> _places;
  std::vector<int> _roots;
};

// The corners of a face in the world.
std::vector<Point> CornersOf(const BaVertexElement& element, const std::vector<int>& corners,
                             const Bt4X4DoubleMat& world) {
  std::vector<Point> points;
  points.reserve(corners.size());
  for (const int i : corners) {
    points.push_back(BtTransformPoint(PointOf(element.vertices()[i]), world));
  }
  return points;
}

void AddFace(const std::vector<Point>& points, Shell* shell) {
  ++shell->faces;
  for (std::size_t i = 2; i < points.size(); ++i) {
    const Point n = Cross(points[i - 1] - points[0], points[i] - points[0]);
    for (std::size_t c = 0; c < 3; ++c) shell->area_sum[c] += n[c];
    shell->area += Length(n);
    shell->volume += Dot(points[0], n);
  }
  for (const Point& p : points) shell->box.add(p);
}

// Calls visit(body, element, points) for every face of the model.
template <class Visit>
void ForEachWorldFace(const CheckInput& input, Visit visit) {
  const WorldTransforms worlds = WorldTransformsOf(input.model);
  for (const BaBody* body : input.bodies) {
    const Bt4X4DoubleMat& world = worlds.at(body->id());
    ForEachFace(*body, [&](const BaVertexElement& element, const std::vector<int>& corners) {
      visit(*body, element.vertices()[corners.front()], CornersOf(element, corners, world));
    });
  }
}

std::vector<Shell> ShellsOf(const CheckInput& input) {
  Box box;
  ForEachWorldFace(input, [&box](const auto&, const auto&, const std::vector<Point>& points) {
    for (const Point& p : points) box.add(p);
  });
  if (!box.min) return {};
  const Point size = *box.max - *box.min;
  const double grid = Length(size) * kGrid;
  if (!(grid > 0)) return {};
  Joiner joiner(*box.min, grid);
  std::vector<int> first_places;  // of the faces
  ForEachWorldFace(input, [&](const auto&, const auto&, const std::vector<Point>& points) {
    const int first = joiner.placeOf(points.front());
    first_places.push_back(first);
    for (std::size_t i = 1; i < points.size(); ++i) joiner.join(joiner.placeOf(points[i]), first);
  });
  std::vector<Shell> shells;
  BtHashMap<int, std::size_t> index;  // of shells by the root of their places
  std::size_t face = 0;
  ForEachWorldFace(input,
                   [&](const BaBody& body, const BaVertex& corner, std::vector<Point> points) {
                     const auto [entry, is_new] =
                         index.try_emplace(joiner.rootOf(first_places[face++]), shells.size());
                     if (is_new) shells.emplace_back();
                     Shell& shell = shells[entry->second];
                     if (shell.body == nullptr) {
                       shell.body = &body;
                       std::copy_n(corner.position(), 3, shell.corner.begin());
                     }
                     // Volumes are sums of differences that are small if the origin is near.
                     for (Point& p : points) p = p - *box.min;
                     AddFace(points, &shell);
                   });
  return shells;
}

bool IsClosed(const Shell& shell) {
  return shell.faces >= kFewestFaces && Length(shell.area_sum) <= kMostOpen * shell.area;
}

// Above 0 for what looks outwards.
bool IsInsideOut(const Shell& shell) {
  const Point middle = {((*shell.box.min)[0] + (*shell.box.max)[0]) / 2,
                        ((*shell.box.min)[1] + (*shell.box.max)[1]) / 2,
                        ((*shell.box.min)[2] + (*shell.box.max)[2]) / 2};
  // What is open a little has another volume as seen from elsewhere.
  const double volume = (shell.volume - Dot(middle, shell.area_sum)) / 6;
  return volume < -kLeastBulk * std::pow(shell.area / 2, 1.5);
}

bool Encloses(const Box& outer, const Box& inner) {
  for (std::size_t c = 0; c < 3; ++c) {
    if ((*outer.min)[c] > (*inner.min)[c] || (*outer.max)[c] < (*inner.max)[c]) return false;
  }
  return true;
}

// The wall of a hollow thing: another shell lies around it, and looks outwards.
bool IsInside(const Shell& shell, const std::vector<Shell>& others) {
  return std::ranges::any_of(others, [&shell](const Shell& other) {
    return &other != &shell && other.faces >= kFewestFaces && Encloses(other.box, shell.box) &&
           !(IsClosed(other) && IsInsideOut(other));
  });
}

void CheckShells(const CheckInput& input, Findings* findings) {
  // Questions about pairs of shells would take too long for a heap of them.
  constexpr std::size_t kMostCompared = 1000;
  const std::vector<Shell> shells = ShellsOf(input);
  std::map<const BaBody*, std::pair<int, const Shell*>> found;  // by body: shells, the first
  std::vector<const BaBody*> order;
  for (const Shell& shell : shells) {
    if (!IsClosed(shell) || !IsInsideOut(shell)) continue;
    if (shells.size() <= kMostCompared && IsInside(shell, shells)) continue;
    auto& [count, first] = found[shell.body];
    if (count++ > 0) continue;
    first = &shell;
    order.push_back(shell.body);
  }
  for (const BaBody* body : order) {
    const auto& [count, first] = found[body];
    findings->add(Kind("inside-out"), PlaceOf(*body),
                  Counted(count, "closed shell", "closed shells") + ", the first of " +
                      Counted(first->faces, "face", "faces"),
                  count, {false, {}, {}, first->corner});
  }
}

constexpr CheckRule kShellRules[] = {CheckShells};

}  // namespace

std::span<const CheckRule> ShellRules() { return kShellRules; }
