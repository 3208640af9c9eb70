// The polygons of one body of a model over one list of vertices, as a step on the way from the
// model to a document.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "Ba/bamdindexlists.h"
#include "Ba/bamdvertices.h"
#include "Ba/batexturecoords.h"
#include "Ba/bavertex.h"
#include "Bt/array.h"
#include "Bt/btindextable.h"
#include "Bt/btlist.h"

class BaBody;
class BaModel;
class BaPolygon;
class BaTMesh;
class BaTexturedPolygon;
class BaTexturedTMesh;

// Polygons or strips of a poly set, flat. Vertex indices are 0-based positions in the set's
// vertices.
class BaModelData_PolyList {
 public:
  // One polygon or strip.
  struct Polygon {
    int material_id;
    std::span<const int> vertices;
    std::span<const BaTextureCoords> t_coords;  // one for each vertex, none without texture
  };

  [[nodiscard]] int count() const { return _vertices.count(); }
  [[nodiscard]] bool empty() const { return _vertices.empty(); }
  // Positions are 0-based. Valid until the list changes.
  [[nodiscard]] Polygon operator[](int i) const;
  // A polygon is built by pushing its corners and ending it. All of a list have texture, or none.
  void push(int vertex) { _vertices.push(vertex); }
  void push(int vertex, const BaTextureCoords& t_coord) {
    _vertices.push(vertex);
    _t_coords.push_back(t_coord);
  }
  void end(int material_id) {
    _vertices.endList();
    _material_ids.push_back(material_id);
  }
  void append(const Polygon& polygon);
  // Keeps the memory.
  void clear() {
    _material_ids.clear();
    _vertices.clear();
    _t_coords.clear();
  }
  // Makes room for elements of a body, and for texture coordinates where they have some. Answers
  // the number of their corners.
  template <class Elements>
  std::size_t reserveFor(const Elements& elements);
  // Takes back the corners pushed since the last polygon ended.
  void drop();
  // The vertices pushed since then.
  [[nodiscard]] std::span<const int> open() const { return _vertices.openList(); }

 private:
  std::vector<int> _material_ids;
  BaMDIndexLists<int> _vertices;
  std::vector<BaTextureCoords> _t_coords;  // of all corners in a row
};

inline BaModelData_PolyList::Polygon BaModelData_PolyList::operator[](int i) const {
  const std::span<const int> vertices = _vertices[i];
  std::span<const BaTextureCoords> t_coords;
  if (!_t_coords.empty()) {
    const auto start = static_cast<std::size_t>(vertices.data() - _vertices.entries().data());
    t_coords = std::span<const BaTextureCoords>(_t_coords).subspan(start, vertices.size());
  }
  return {_material_ids[static_cast<std::size_t>(i)], vertices, t_coords};
}

// Refers to effects of the model's vertices, so the model must outlive it unchanged.
class BaModelData_PolySet {
 public:
  using Polygon = BaModelData_PolyList::Polygon;

  // The effects of a vertex that has some.
  struct Effects {
    int vertex;  // 0-based
    const BaVertexEffects* effects;
  };

  // Gathers the polygons and triangle meshes of a body. Those of fewer than two vertices, which a
  // legacy reader lets pass with a warning, are left out.
  explicit BaModelData_PolySet(const BaBody* body) { gather(body); }
  // A set without polygons.
  BaModelData_PolySet(int of_body_id, int of_parent_id)
      : body_id(of_body_id), parent_id(of_parent_id) {}

  // Replaces the content by that of a body; memory is used again.
  void gather(const BaBody* body);

  // While merging is on, which it is unless someone turns it off, vertices of equal coordinates are
  // one vertex, with the effects of the first. 0.0 equals -0.0.
  static void setMergeVertices(bool merge) { _merge_vertices = merge; }
  [[nodiscard]] static bool mergeVertices() { return _merge_vertices; }

  // The index of a vertex, which is added if need be.
  int vertexAt(const BaVertex& vertex);
  // The index of a vertex that must be there.
  [[nodiscard]] int vertexAt(const BaVertex& vertex) const;

  // Adds a polygon and answers it. The answer is valid until something is added.
  Polygon* addPolygon(BaPolygon* bap);
  // Each answers the position of the polygon in its list. Polygons must be valid.
  int addPolygon(const BaPolygon& polygon);
  int addTexturedPolygon(const BaTexturedPolygon& polygon);
  // A strip in which neighbours would be one vertex is cut there, into strips that have its
  // triangles in their order and facing as they did; what holds no triangle is left out.
  void addTMesh(const BaTMesh& mesh);
  void addTexturedTMesh(const BaTexturedTMesh& mesh);

  // Cuts every polygon of more than `max` vertices into a fan of pieces that stand in its place;
  // pieces without a face are dropped. Asserts that `max` is 3 at least.
  void splitPolygons(int max);

  [[nodiscard]] std::span<const BaMDPoint> vertices() const { return _vertices; }
  // In the order of the vertices.
  [[nodiscard]] std::span<const Effects> effects() const { return _effects; }
  [[nodiscard]] const BaModelData_PolyList& polygons() const { return _polygons; }
  [[nodiscard]] const BaModelData_PolyList& texturedPolygons() const { return _textured_polygons; }
  [[nodiscard]] const BaModelData_PolyList& tMeshes() const { return _t_meshes; }
  [[nodiscard]] const BaModelData_PolyList& texturedTMeshes() const { return _textured_t_meshes; }

  int body_id = 0;
  int parent_id = 0;

 private:
  template <class Elements, class Add>
  void _addPolygons(const Elements& polygons, Add add);
  template <class Elements>
  void _expectNext(const Elements& elements, int i) const;
  // The vertex at a position, -1 where it is none of those that are likely: the ones that were new
  // right behind or before the last one found, for meshes run in rows, and those found last.
  [[nodiscard]] int _guess(const float* position) const;
  int _vertexAt(const BaVertex& vertex);
  // True when vertices would be one vertex.
  [[nodiscard]] static bool _areMerged(const BaVertex& a, const BaVertex& b) {
    return _merge_vertices && a == b;
  }
  // Where the piece of a strip ends that begins with vertex `begin`.
  [[nodiscard]] static int _endOfPiece(const BtDArray<BaVertex>& strip, int begin);
  // Calls `push(i)` for the vertices of each piece of a strip and ends it in the list.
  template <class Push>
  static void _cutStrip(const BaTMesh& mesh, BaModelData_PolyList* list, Push push);
  void _split(const BaModelData_PolyList::Polygon& polygon, int max, BaModelData_PolyList* pieces);
  [[nodiscard]] bool _hasFace(std::span<const int> polygon) const;

  static bool _merge_vertices;

  std::vector<BaMDPoint> _vertices;
  std::vector<Effects> _effects;
  BtIndexTable _by_coordinates;
  // The vertices found last: of all, and some more of them, each in the place of the oldest one.
  int _last = 0;
  std::array<int, 6> _recent = {};
  std::size_t _oldest = 0;
  Polygon _added = {};  // as answered last
  BaModelData_PolyList _polygons;
  BaModelData_PolyList _textured_polygons;
  BaModelData_PolyList _t_meshes;
  BaModelData_PolyList _textured_t_meshes;
};

// Appends a poly set, to be deleted by the caller, for each body that has polygons, in model order.
void BuildPolySets(BtList<BaModelData_PolySet*>* poly_sets, const BaModel& model);

// Asserts that neighbours in a polygon, the last and the first included, are at different places;
// answers 1.
int ValidPolygon(const BaPolygon& polygon);

// Steps through the triangles of a strip; their winding alternates, so all face the same way.
class BaModelData_TMeshTriIter {
 public:
  explicit BaModelData_TMeshTriIter(std::span<const int> strip) : _strip(strip) {}
  [[nodiscard]] bool atEnd() const { return _next + 2 >= _strip.size(); }
  // The vertex indices of the next triangle; asserts that there is one.
  void getNextTri(int (*triangle)[3]);

 private:
  std::span<const int> _strip;
  std::size_t _next = 0;
};

// Material ids by their position in an array, in the order of their first use.
using MaterialIdMap = BtIndexTable;
// The position of a material id, which is appended when it is new.
int MaterialIdAt(int material_id, BtDynArray<int>& material_ids, MaterialIdMap& map);

// The same for texture coordinates. 0.0 equals -0.0.
using TCoordMap = BtIndexTable;
int TCoordAt(const BaTextureCoords& t_coord, BtDynArray<BaTextureCoords>& t_coords, TCoordMap& map);
