// Puts several models together into one, as documents that include others need it.
#pragma once

#include <string>

#include "Ba/bamodel.h"
#include "Bt/bthash.h"

// Adds copies of models to one that is being loaded. Units and settings stay those of the model.
//
// Materials and slider groups of the same name and content become one; of those with the same name
// and another content the later one gets a number behind its name. Lights and lighting models with
// an id that is taken get the next free one.
class BaModelCombine {
 public:
  // `model` must outlive this object and must be changed by nothing else meanwhile.
  explicit BaModelCombine(BaModel* model);

  // Adds `source` with `body_id_offset` added to every body id and `body_name_suffix` appended to
  // every body name. False after a recorded error: an id out of range, or an id or name that is
  // taken. The model is incomplete then. The suffix may be empty but not null.
  bool add(const BaModel& source, long long body_id_offset, const BtStr& body_name_suffix);

 private:
  // How the parts of one source are called in the model.
  struct Names {
    long long body_id_offset = 0;
    BtHashMap<int, int> material_ids;
    BtNameMap<BtStr> slider_groups;
  };
  using Contents = BtHashMap<std::string, BtStr>;  // name and content to the name used

  bool _addBody(const BaBody& body, long long body_id_offset, const BtStr& body_name_suffix);
  void _addMaterial(const BaMaterial& material, Names* names);
  void _addSliderGroup(const BaMDSliderGroup& group, Names* names);
  void _addElements(const BaModel& source, const Names& names);
  void _addMuscle(const BaMuscle& muscle, const Names& names);
  template <class Element>
  std::unique_ptr<Element> _copy(const Element& element, const Names& names) const;
  // The same for an element with vertices; `edit(effects, body_id)` makes their effects fit.
  template <class Element, class Edit>
  std::unique_ptr<Element> _copy(const Element& element, const Names& names, Edit& edit) const;
  static void _renameTargets(const Names& names, BaVertexEffects* effects);
  // `name` with the first number behind it that makes it new.
  template <class IsTaken>
  BtStr _freeName(const BtStr& name, IsTaken is_taken);

  BaModel* _model;
  BtHashSet<BtStr> _body_names;
  Contents _materials;
  Contents _slider_groups;
  BtNameMap<int> _last_numbers;  // behind each name
  int _last_material_id = 0;
};
