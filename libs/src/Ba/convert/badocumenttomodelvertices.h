// The vertices of a vertex set, as the geometries over it take them into a model.
#pragma once

#include <vector>

#include "Bt/bthash.h"
#include "baconvert.h"

// Geometries may share a set: its effects are sorted once, and made for the vertices that are used.
// Refers to the set, which must outlive it unchanged.
class BaSetVertices {
 public:
  explicit BaSetVertices(const BaMDVertices& set) : _set(set), _points(set.coordinates()) {}

  // To be called before the vertices of a geometry are taken, with its body. False after a recorded
  // error: a body to follow does not exist.
  bool begin(const BaBody& body, const BaBodiesByName& bodies);
  // The point and the vertex of an index, 1-based.
  [[nodiscard]] const BaMDPoint& point(int index) const { return _points[index - 1]; }
  [[nodiscard]] BaVertex vertex(int index) {
    const BaMDPoint& p = point(index);
    BaVertex vertex(p.x, p.y, p.z);
    if (!_starts.empty()) vertex.effects() = _effectsOf(static_cast<std::size_t>(index - 1));
    return vertex;
  }

 private:
  // Effects of the set toward one target; either pointer is null.
  struct Source {
    const BaMDFlexVEffects* flex;
    const BaMDBlendVEffects* blend;
    int target_id;  // of flex effects
  };
  // One entry of a source.
  struct Entry {
    int source;
    int place;
  };
  // What was made for a vertex, and the parent that it is for.
  struct Made {
    int parent_id = -1;
    BaVertexEffects effects;
  };

  bool _addSource(const BaMDVertexEffects& effects, const BaBody& body,
                  const BaBodiesByName& bodies);
  void _sort();
  // Calls `use(vertex, entry)` for all entries in their order, with the vertex from 0.
  template <class Use>
  void _forEachEntry(Use use) const;
  const BaVertexEffects& _effectsOf(std::size_t vertex) {
    Made& made = _made[vertex];
    if (made.parent_id != _parent_id) _make(vertex, &made);
    return made.effects;
  }
  void _make(std::size_t vertex, Made* made) const;
  [[nodiscard]] std::unique_ptr<Ba_VertexEffect> _toEffect(const Entry& entry) const;

  const BaMDVertices& _set;
  const BtDArray<BaMDPoint>& _points;
  std::vector<Source> _sources;
  BtHashSet<int> _target_ids;  // of all flex effects
  // The entries of vertex i stand from _starts[i] to _starts[i + 1]. Empty without effects.
  std::vector<std::size_t> _starts;
  std::vector<Entry> _entries;
  std::vector<Made> _made;
  int _parent_id = 0;  // of the geometry's body, 0 where no effect follows the parent
};
