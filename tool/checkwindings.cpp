// The rules of "check" about faces beside each other, and on each other.
#include <algorithm>
#include <numeric>

#include "Bt/bthash.h"
#include "checkrules.h"
#include "style.h"
#include "worldfaces.h"

namespace {

struct Face {
  const BaBody* body;
  Point centre;
  std::array<float, 3> corner;  // the first
  std::vector<int> places;      // of all
  bool is_double = false;       // one in front of it is the same
};

struct Surface {
  std::vector<Face> faces;
  std::vector<Point> places;
};

Point CentreOf(const std::vector<Point>& points) {
  Point sum = {};
  for (const Point& p : points) {
    for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += p[axis];
  }
  for (double& c : sum) c /= static_cast<double>(points.size());
  return sum;
}

Surface SurfaceOf(const CheckInput& input) {
  const Box box = BoxOfFaces(input);
  if (!(GridOf(box) > 0)) return {};
  Surface surface;
  BtHashSet<std::string> seen;
  PlaceJoiner joiner(*box.min, GridOf(box));
  ForEachWorldFace(
      input, [&](const BaBody& body, const BaVertex& corner, std::vector<Point> points) {
        Face face = {&body, CentreOf(points), {}, {}};
        std::copy_n(corner.position(), 3, face.corner.begin());
        for (const Point& p : points) {
          face.places.push_back(joiner.placeOf(p));
          const bool is_new = face.places.back() == static_cast<int>(surface.places.size());
          if (is_new) surface.places.push_back(p);
        }
        std::rotate(points.begin(), std::min_element(points.begin(), points.end()), points.end());
        const auto* const bytes = reinterpret_cast<const char*>(points.data());
        face.is_double = !seen.emplace(bytes, points.size() * sizeof(Point)).second;
        surface.faces.push_back(std::move(face));
      });
  return surface;
}

// The first two faces at an edge, and how many there are.
struct Edge {
  std::uint32_t ends[2] = {};  // places, the lower one first
  int faces[2] = {};
  bool forwards[2] = {};  // whether they go from the lower place to the higher one
  int count = 0;
};

std::vector<Edge> EdgesOf(const std::vector<Face>& faces) {
  std::vector<Edge> edges;
  BtHashMap<std::uint64_t, std::size_t> index;  // by both places
  for (std::size_t i = 0; i < faces.size(); ++i) {
    const std::vector<int>& places = faces[i].places;
    if (faces[i].is_double) continue;
    for (std::size_t k = 0; k < places.size(); ++k) {
      const auto a = static_cast<std::uint32_t>(places[k]);
      const auto b = static_cast<std::uint32_t>(places[(k + 1) % places.size()]);
      if (a == b) continue;
      const std::uint64_t key = std::uint64_t{std::min(a, b)} << 32U | std::max(a, b);
      const auto [entry, is_new] = index.try_emplace(key, edges.size());
      if (is_new) edges.push_back({{std::min(a, b), std::max(a, b)}});
      Edge& edge = edges[entry->second];
      const int number = edge.count++;
      if (number >= 2) continue;
      edge.faces[number] = static_cast<int>(i);
      edge.forwards[number] = a < b;
    }
  }
  return edges;
}

// Faces that hang together and face one way.
class Patches {
 public:
  explicit Patches(std::size_t faces) : _roots(faces), _sizes(faces, 1) {
    std::iota(_roots.begin(), _roots.end(), 0);
  }
  int rootOf(int face) {
    while (_root(face) != face) face = _root(face) = _root(_root(face));
    return face;
  }
  void join(int a, int b) {
    a = rootOf(a);
    b = rootOf(b);
    if (a == b) return;
    if (sizeOf(a) < sizeOf(b)) std::swap(a, b);
    _sizes[static_cast<std::size_t>(a)] += sizeOf(b);
    _root(b) = a;
  }
  [[nodiscard]] int sizeOf(int root) const { return _sizes[static_cast<std::size_t>(root)]; }

 private:
  int& _root(int face) { return _roots[static_cast<std::size_t>(face)]; }
  std::vector<int> _roots;
  std::vector<int> _sizes;
};

// The way from an edge to the centre of one of its faces, at a right angle to the edge; its length
// is that of the edge, squared, times the distance.
Point WayInto(int face, const Edge& edge, const Surface& surface) {
  const Point& start = surface.places[edge.ends[0]];
  const Point along = surface.places[edge.ends[1]] - start;
  const Point way = surface.faces[static_cast<std::size_t>(face)].centre - start;
  return Cross(Cross(along, way), along);
}

// Whether the faces lie nearly on each other, as layers that begin at one seam do: both may be
// right.
bool IsFold(const Edge& edge, const Surface& surface) {
  constexpr double kCosine = 0.9;
  const Point a = WayInto(edge.faces[0], edge, surface);
  const Point b = WayInto(edge.faces[1], edge, surface);
  return Dot(a, b) > kCosine * Length(a) * Length(b);
}

// Of two patches that face opposite ways, the smaller one is wrong.
BtHashSet<int> FlippedPatches(const Surface& surface, Patches* patches) {
  const std::vector<Edge> edges = EdgesOf(surface.faces);
  std::vector<const Edge*> breaks;
  for (const Edge& edge : edges) {
    if (edge.count != 2) continue;
    if (edge.forwards[0] == edge.forwards[1]) {
      if (!IsFold(edge, surface)) breaks.push_back(&edge);
    } else {
      patches->join(edge.faces[0], edge.faces[1]);
    }
  }
  BtHashSet<int> flipped;
  for (const Edge* edge : breaks) {
    const int a = patches->rootOf(edge->faces[0]);
    const int b = patches->rootOf(edge->faces[1]);
    if (a != b) flipped.insert(patches->sizeOf(a) < patches->sizeOf(b) ? a : b);
  }
  return flipped;
}

// Adds a finding for each body that has some of the faces.
template <class IsMeant>
void AddFaces(const FindingKind* kind, const std::vector<Face>& faces, IsMeant is_meant,
              Findings* findings) {
  std::vector<std::pair<const Face*, int>> found;  // the first of a body, and how many it has
  BtHashMap<int, std::size_t> index;               // by the body's id
  for (const Face& face : faces) {
    if (!is_meant(face)) continue;
    const auto [entry, is_new] = index.try_emplace(face.body->id(), found.size());
    if (is_new) found.emplace_back(&face, 0);
    ++found[entry->second].second;
  }
  for (const auto& [face, count] : found) {
    findings->add(kind, PlaceOf(*face->body), Counted(count, "polygon", "polygons"), count,
                  {false, {}, {}, face->corner});
  }
}

void CheckWindings(const CheckInput& input, Findings* findings) {
  const Surface surface = SurfaceOf(input);
  const std::vector<Face>& faces = surface.faces;
  Patches patches(faces.size());
  const BtHashSet<int> flipped = FlippedPatches(surface, &patches);
  const auto is_flipped = [&](const Face& face) {
    return flipped.contains(patches.rootOf(static_cast<int>(&face - faces.data())));
  };
  if (!flipped.empty()) AddFaces(Kind("polygon-flipped"), faces, is_flipped, findings);
  const auto is_double = [](const Face& face) { return face.is_double; };
  AddFaces(Kind("polygon-double"), faces, is_double, findings);
}

constexpr CheckRule kWindingRules[] = {CheckWindings};

}  // namespace

std::span<const CheckRule> WindingRules() { return kWindingRules; }
