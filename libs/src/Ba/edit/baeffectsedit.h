// Changes the effects of many vertices in one way.
#pragma once

#include <map>
#include <utility>

#include "Ba/bavertexeffects.h"

// Vertices that share their effects share the changed ones: these are made once. `edit(effects,
// body_id)` changes the effects of a vertex on a body, and depends on nothing else. Effects that no
// more than `n_owners` vertices have are not looked up.
template <class Edit>
class Ba_EffectsEdit {
 public:
  explicit Ba_EffectsEdit(Edit edit, int n_owners = 1)
      : _edit(std::move(edit)), _n_owners(n_owners) {}

  void operator()(BaVertexEffects& effects, int body_id) {
    if (effects.nOwners() <= _n_owners) return _edit(effects, body_id);
    const auto [entry, is_new] =
        _edited.try_emplace({std::as_const(effects).first(), body_id}, Edited{effects, effects});
    Edited& edited = entry->second;
    if (is_new) _edit(edited.after, body_id);
    effects = edited.after;
  }

 private:
  struct Edited {
    BaVertexEffects before;  // so that its place in memory is not taken by others
    BaVertexEffects after;
  };

  Edit _edit;
  int _n_owners;
  std::map<std::pair<const Ba_VertexEffect*, int>, Edited> _edited;  // by first effect and body
};
