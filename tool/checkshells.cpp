// The rule of "check" about closed shells that are inside out.
#include <cmath>

#include "Bt/bthash.h"
#include "checkrules.h"
#include "style.h"
#include "worldfaces.h"

namespace {

constexpr double kMostOpen = 0.1;     // of a shell's area may look to one side without another
constexpr double kMostGaping = 0.25;  // where nothing lies around it
constexpr double kLeastBulk = 0.01;   // of a ball's surface to its volume, about a tenth of it
constexpr double kWall = 0.2;         // of the box around a hollow thing, at least, is hollow
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

std::vector<Shell> ShellsOf(const CheckInput& input) {
  const Box box = BoxOfFaces(input);
  if (!(GridOf(box) > 0)) return {};
  PlaceJoiner joiner(*box.min, GridOf(box));
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

bool IsClosed(const Shell& shell, double most_open = kMostOpen) {
  return shell.faces >= kFewestFaces && Length(shell.area_sum) <= most_open * shell.area;
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

double BulkOf(const Box& box) {
  const Point sides = *box.max - *box.min;
  return sides[0] * sides[1] * sides[2];
}

bool Encloses(const Box& outer, const Box& inner) {
  for (std::size_t c = 0; c < 3; ++c) {
    if ((*outer.min)[c] > (*inner.min)[c] || (*outer.max)[c] < (*inner.max)[c]) return false;
  }
  return true;
}

// Whether a shell may look inwards because another lies around it that looks outwards: as the wall
// of something hollow, which is not much smaller, or as a hole such as a mouth, which is open.
bool IsInside(const Shell& shell, const std::vector<Shell>& others) {
  return std::ranges::any_of(others, [&shell](const Shell& other) {
    return &other != &shell && other.faces >= kFewestFaces && Encloses(other.box, shell.box) &&
           !(IsClosed(other) && IsInsideOut(other)) &&
           (!IsClosed(shell) || BulkOf(shell.box) >= kWall * BulkOf(other.box));
  });
}

void CheckShells(const CheckInput& input, Findings* findings) {
  // Questions about pairs of shells would take too long for a heap of them.
  constexpr std::size_t kMostCompared = 1000;
  const std::vector<Shell> shells = ShellsOf(input);
  std::map<const BaBody*, std::pair<int, const Shell*>> found;  // by body: shells, the first
  std::vector<const BaBody*> order;
  for (const Shell& shell : shells) {
    if (!IsClosed(shell, kMostGaping) || !IsInsideOut(shell)) continue;
    if (shells.size() <= kMostCompared ? IsInside(shell, shells) : !IsClosed(shell)) continue;
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
