// The base of the elements that are made of vertices: polygons, flexible polygons, triangle meshes.
#pragma once

#include <iosfwd>
#include <memory>
#include <new>
#include <utility>

#include "Ba/baelement.h"
#include "Ba/bavertex.h"
#include "Bt/array.h"

// The vertices of an element. This base comes before the ids, so that what derived classes add
// stands behind these without a gap: polygons come by the million.
class Ba_ElementVertices {
 public:
  [[nodiscard]] int numVertices() const { return _vertices.size(); }
  [[nodiscard]] const BtDArray<BaVertex>& vertices() const { return _vertices; }
  // For changing vertices; their number stays.
  BtArray<BaVertex>& vertices() { return _vertices; }

 protected:
  virtual ~Ba_ElementVertices() = default;
  Ba_ElementVertices() = default;
  Ba_ElementVertices(const Ba_ElementVertices&) = default;
  Ba_ElementVertices& operator=(const Ba_ElementVertices&) = default;

  BtDArray<BaVertex> _vertices;
};

// Derived classes may keep arrays parallel to the vertices; the hooks keep them in step.
class BaVertexElement : public Ba_ElementVertices, public BaElement {
 public:
  ~BaVertexElement() override = default;

  // A new element in memory of the arena, which must outlive it; on the heap without an arena.
  template <class T, class... Args>
  static std::unique_ptr<T> makeIn(BtArena* arena, Args&&... args);
  // Destroys an element and frees its memory where no arena does that.
  static void operator delete(BaVertexElement* element, std::destroying_delete_t /*tag*/);

  // Lets flex2 effects of the vertices follow body `new_id` instead of `old_id`.
  void changeFlex2BodyId(int old_id, int new_id);

  // Reads and writes the element's record, the record letter not included in reading. Reading
  // replaces the content and answers false after a recorded error.
  bool scanFrom(std::istream& is);
  virtual bool scanFrom(BtScanner& in);
  virtual void printOn(std::ostream& os) const;

 protected:
  BaVertexElement() = default;
  BaVertexElement(int body_id, int material_id) : BaElement(body_id, material_id) {}
  // A copy is on the heap, wherever the other one is.
  BaVertexElement(const BaVertexElement& other) : Ba_ElementVertices(other), BaElement(other) {}
  BaVertexElement& operator=(const BaVertexElement& other) {
    Ba_ElementVertices::operator=(other);
    BaElement::operator=(other);
    return *this;
  }

  // Gives the element `n` vertices, new ones at the origin. The first ones may stand in the arena,
  // if there is one.
  virtual void _resize(int n, BtArena* arena);
  // Reads what the file has for vertex `i`; false after a recorded error. The first form reads
  // through the second, which is what elements are read with.
  virtual bool _scanVertexFrom(BaVertex* vertex, int i, std::istream& is);
  virtual bool _scanVertexFrom(BaVertex* vertex, int i, BtScanner& in);
  // Writes the record letter and what precedes it.
  virtual void _printTypeOn(std::ostream& os) const = 0;
  // Writes what is read for a vertex, each value after a blank.
  virtual void _printVertexOn(const BaVertex& vertex, int i, std::ostream& os) const;

  // Reads the number of vertices; records `message` and answers false where that fails.
  static bool _scanCount(BtScanner& in, const char* message, int* count);
  // Reads `count` vertices. The arrays grow as vertices are really read, so that a count that the
  // file does not keep costs nothing.
  bool _scanVertices(BtScanner& in, int count);
  // Writes the type, the ids and the number of vertices.
  void _printHeadOn(std::ostream& os) const;
  // Writes a line for each vertex.
  void _printVerticesOn(std::ostream& os) const;

 private:
  bool _in_arena = false;  // which has the element's memory then
};

template <class T, class... Args>
std::unique_ptr<T> BaVertexElement::makeIn(BtArena* arena, Args&&... args) {
  void* const piece = arena == nullptr ? nullptr : arena->takeForObject(sizeof(T));
  if (piece == nullptr) return std::make_unique<T>(std::forward<Args>(args)...);
  std::unique_ptr<T> element(::new (piece) T(std::forward<Args>(args)...));
  element->BaVertexElement::_in_arena = true;
  return element;
}
