// The base of the elements that are made of vertices: polygons, flexible polygons, triangle meshes.
#pragma once

#include <iosfwd>
#include <memory>
#include <new>
#include <utility>

#include "Ba/baelement.h"
#include "Ba/bavertex.h"
#include "Bt/array.h"

// Derived classes may keep arrays parallel to the vertices; the hooks keep them in step.
class BaVertexElement : public BaElement {
 public:
  virtual ~BaVertexElement() = default;

  // A new element in memory of the arena, which must outlive it; on the heap without an arena.
  template <class T, class... Args>
  static std::unique_ptr<T> makeIn(BtArena* arena, Args&&... args);
  // Destroys an element and frees its memory where no arena does that.
  static void operator delete(BaVertexElement* element, std::destroying_delete_t /*tag*/);

  [[nodiscard]] int numVertices() const { return _vertices.size(); }
  [[nodiscard]] const BtDArray<BaVertex>& vertices() const { return _vertices; }
  // For changing vertices; their number stays.
  BtArray<BaVertex>& vertices() { return _vertices; }
  // Lets flex2 effects of the vertices follow body `new_id` instead of `old_id`.
  void changeFlex2BodyId(int old_id, int new_id);

  // Reads and writes the element's record, the record letter not included in reading. Reading
  // replaces the content and answers false after a recorded error.
  bool scanFrom(std::istream& is);
  virtual bool scanFrom(BtScanner& in) = 0;
  virtual void printOn(std::ostream& os) const = 0;

 protected:
  BaVertexElement() = default;
  BaVertexElement(int body_id, int material_id) : BaElement(body_id, material_id) {}
  BaVertexElement(const BaVertexElement&) = default;
  BaVertexElement& operator=(const BaVertexElement&) = default;

  // Gives the element `n` vertices, new ones at the origin. The first ones may stand in the arena,
  // if there is one.
  virtual void _resize(int n, BtArena* arena);
  // Reads what the file has for vertex `i`; false after a recorded error. The first form reads
  // through the second, which is what elements are read with.
  virtual bool _scanVertexFrom(BaVertex* vertex, int i, std::istream& is);
  virtual bool _scanVertexFrom(BaVertex* vertex, int i, BtScanner& in);
  // Writes the same, each value after a blank.
  virtual void _printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const;

  // Reads the number of vertices; records `message` and answers false where that fails.
  static bool _scanCount(BtScanner& in, const char* message, int* count);
  // Reads `count` vertices. The arrays grow as vertices are really read, so that a count that the
  // file does not keep costs nothing.
  bool _scanVertices(BtScanner& in, int count);
  // Writes a line for each vertex.
  void _printVerticesOn(std::ostream& os) const;

  // Whether the memory of the element is an arena's. That of a copy is not.
  class InArena {
   public:
    InArena() = default;
    InArena(const InArena& /*other*/) {}
    InArena& operator=(const InArena& /*other*/) { return *this; }
    bool value = false;
  };
  InArena _in_arena;
  // Of polygons only. It fills a gap here that would be sixteen bytes there, and polygons come by
  // the million.
  int _s_flag = 0;
  BtDArray<BaVertex> _vertices;
};

template <class T, class... Args>
std::unique_ptr<T> BaVertexElement::makeIn(BtArena* arena, Args&&... args) {
  void* const piece = arena == nullptr ? nullptr : arena->takeForObject(sizeof(T));
  if (piece == nullptr) return std::make_unique<T>(std::forward<Args>(args)...);
  std::unique_ptr<T> element(::new (piece) T(std::forward<Args>(args)...));
  element->BaVertexElement::_in_arena.value = true;
  return element;
}
