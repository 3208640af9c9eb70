// The body map: which system variables drive the six transforms of one body, and in which order the
// transforms are applied.
#pragma once

#include <array>
#include <istream>
#include <memory>
#include <string>

#include "Ba/baframe.h"
#include "Ba/bakey.h"
#include "Ba/batransform.h"
#include "Bt/array.h"
#include "Bt/btfloatmat.h"
#include "Bt/btlist.h"
#include "Bt/btscan.h"

// Where the transforms of a body stand at one moment, in the units of the variables. Transforms
// that the body does not have are 0.
struct BaBodyPose {
  std::array<double, 3> translation = {};  // by axis: along X, Y and Z
  std::array<double, 3> rotation = {};     // by axis: about X, Y and Z

  // The value of a transform id, 1 to 6.
  [[nodiscard]] double& operator[](int transform_id);
  [[nodiscard]] double operator[](int transform_id) const;
};

// The body id is given when the body map is made. To assign a body map of another body to one that
// a mapping owns is an assertion failure; BaUnlockedMapping::changeBodyId() gives it another id.
class BaUnlockedBodyMap {
 public:
  // No body yet: the id is -1 and there are no transforms.
  BaUnlockedBodyMap() = default;
  // A body, id 1 or above, with single-variable transforms: see set().
  BaUnlockedBodyMap(int body_id, const BtList<int>& order, const BtList<int>& sysvar_ids);

  // Reads one record; null when an error was recorded.
  [[nodiscard]] static std::unique_ptr<BaUnlockedBodyMap> scanNewFrom(std::istream& is);
  // Writes the record as it is read. Asserts that each of the six transforms is there once.
  void printOn(std::ostream& os) const;

  [[nodiscard]] int bodyId() const { return _body_id.get(); }
  // Replaces all transforms. `order` lists transform ids in the order in which they are applied,
  // none of them twice; `sysvar_ids` has a variable (0 for none) per transform id, from id 1 on.
  void set(const BtList<int>& order, const BtList<int>& sysvar_ids);

  // The transforms in the order in which they are applied. A record that repeats a transform id in
  // its order is kept as it is read: the transform is then listed more than once.
  [[nodiscard]] const BaUnlockedTransformList& transforms() const { return _transforms; }
  // The transform id at a 0-based position of the order.
  [[nodiscard]] int transformId(int position) const { return _transforms[position].id(); }
  // The transform of an axis and a kind, translation (1) or rotation (2). Where the body has none,
  // one that does not exist().
  [[nodiscard]] const BaUnlockedTransform& getTransform(BtAxis_t axis, int type) const;
  // Replaces the transform of this id, which must be that of `transform`, where it stands in the
  // order; a transform that the body does not have yet becomes the last one.
  void setTransform(int id, const BaUnlockedTransform& transform);

  [[nodiscard]] const BaUnlockedTransform& xTranslation() const { return _transform(1); }
  [[nodiscard]] const BaUnlockedTransform& yTranslation() const { return _transform(2); }
  [[nodiscard]] const BaUnlockedTransform& zTranslation() const { return _transform(3); }
  [[nodiscard]] const BaUnlockedTransform& xRotation() const { return _transform(4); }
  [[nodiscard]] const BaUnlockedTransform& yRotation() const { return _transform(5); }
  [[nodiscard]] const BaUnlockedTransform& zRotation() const { return _transform(6); }
  // The variables of the transforms, each of which must be a single-variable one.
  [[nodiscard]] int xTransSysVarId() const { return xTranslation().sysVarId(); }
  [[nodiscard]] int yTransSysVarId() const { return yTranslation().sysVarId(); }
  [[nodiscard]] int zTransSysVarId() const { return zTranslation().sysVarId(); }
  [[nodiscard]] int xRotSysVarId() const { return xRotation().sysVarId(); }
  [[nodiscard]] int yRotSysVarId() const { return yRotation().sysVarId(); }
  [[nodiscard]] int zRotSysVarId() const { return zRotation().sysVarId(); }

  // The axes of the rotations in the order in which they are applied, such as "ZYX". A body map
  // that does not turn about each axis once has other letters.
  [[nodiscard]] std::string rotationLetters() const;
  // The same of three rotations as numbers, X = 1, Y = 2, Z = 3.
  // Each asserts that the answer has three places and the body exactly three rotations.
  void getRotOrder(BtArray<int>* order) const;
  void getAngleSequence(int (*sequence)[3]) const;
  void getAngleSequence(BtArray<int>* sequence) const;

  // The values of the transforms in a frame.
  [[nodiscard]] BaBodyPose pose(const BaFrame& frame) const;
  // What the transforms make of a body, in the model's unit of lengths. They are applied in their
  // order about and along axes that move with the body. For points as column vectors that is
  // M = X1 X2 ... X6, X1 the matrix of the first transform of the order. As everywhere in this
  // library the answer is for row vectors, the transpose of M: rows 0 to 2 are the moved axes,
  // row 3 the moved origin, and with Bt's product (in a * b comes a first) it is X6 * ... * X1. The
  // body's place in the world is therefore matrix * rest * global of the parent, where rest is the
  // body's coordinate system: for columns, global = parent's global x rest x M.
  [[nodiscard]] Bt4X4DoubleMat matrix(const BaBodyPose& pose, BaVariableUnits units = {}) const;
  [[nodiscard]] Bt4X4DoubleMat matrix(const BaFrame& frame, BaVariableUnits units = {}) const {
    return matrix(pose(frame), units);
  }

  // Appends the transforms that a variable, 1 or above, drives; they stay the body map's.
  void getSysVarTransforms(BtList<Ba_Transform*>* transforms, int var_id);
  [[nodiscard]] bool usesSysVarId(int var_id) const;
  // Calls visit(id) with every variable id of every transform, 0 left out.
  template <class Visit>
  void forEachSysVarId(Visit visit) const {
    for (const BaUnlockedTransform& transform : _transforms) transform.forEachSysVarId(visit);
  }
  // Replaces every variable id i by new_ids[i]; 0, which stands for no variable, stays. Asserts
  // that the new ids can be written: 1 or above in a combination, otherwise 0 or above.
  void renumberSysVarIds(const BtArray<int>& new_ids);
  // Adds an offset to every variable id but 0. Asserts the same of the sums, and that they are
  // ints.
  void offsetSysVarIds(int offset);

  bool operator==(const BaUnlockedBodyMap& other) const = default;

 private:
  friend class BaUnlockedMapping;  // finds its body maps by id

  void _setBodyId(int body_id);
  bool _scanFrom(BtScanner* scanner);
  [[nodiscard]] const BaUnlockedTransform& _transform(int id) const;

  BaKey<int> _body_id{-1};
  BaUnlockedTransformList _transforms;
};

// True when every entry of the order is a transform id, 1 to 6, and none stands there twice.
[[nodiscard]] bool ValidOrder(const BtList<int>& order);
