// The transforms of a mapped body: one translation or rotation about one axis each, driven by a
// system variable or by a linear combination of system variables.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>

#include "Bt/array.h"
#include "Bt/btrare.h"

enum class BtAxis_t : std::uint8_t { X, Y, Z };
// Prints "XAxis", "YAxis" or "ZAxis".
std::ostream& operator<<(std::ostream& os, BtAxis_t axis);

// Transform ids are 1 to 6: the translations along X, Y and Z, then the rotations about them.
inline constexpr int kBaTransformCount = 6;
inline constexpr int kBaFirstRotationId = 4;

// What GetTransformIdAxisType answers as the kind of a transform.
inline constexpr int kBaTranslationKind = 1;
inline constexpr int kBaRotationKind = 2;

// The axis of a transform id and its kind, translation (1) or rotation (2). Asserts a valid id.
void GetTransformIdAxisType(int id, BtAxis_t* axis, int* type);

// What a transform does, without what drives it.
class Ba_Transform {
 public:
  enum Type : std::uint8_t {
    Translation = 0,      // driven by one system variable
    CombTranslation = 1,  // driven by a linear combination
    Rotation = 2,
    CombRotation = 3,
  };

  Ba_Transform() = default;
  Ba_Transform(int type, BtAxis_t axis);

  [[nodiscard]] int type() const { return _type; }
  [[nodiscard]] BtAxis_t axis() const { return _axis; }
  [[nodiscard]] bool isRotation() const { return _type >= Rotation; }
  [[nodiscard]] bool isCombination() const {
    return _type == CombTranslation || _type == CombRotation;
  }
  // The transform id, 1 to 6.
  [[nodiscard]] int id() const {
    return static_cast<int>(_axis) + (isRotation() ? kBaFirstRotationId : 1);
  }

  bool operator==(const Ba_Transform& other) const = default;

 private:
  std::uint8_t _type = Translation;
  BtAxis_t _axis = BtAxis_t::X;
};

// One transform of a body with what drives it. Its value is that of its variable or, for a
// combination, the constant plus the sum of coefficient times variable.
class BaUnlockedTransform : public Ba_Transform {
 public:
  struct Term {
    int sysvar_id;  // at least 1
    float coefficient;
    bool operator==(const Term& other) const = default;
  };

  // A transform that is driven by nothing: exists() is false.
  BaUnlockedTransform() = default;
  BaUnlockedTransform(int type, BtAxis_t axis) : Ba_Transform(type, axis) {}
  // A transform id driven by one variable, 0 for a value that is always zero.
  BaUnlockedTransform(int id, int sysvar_id);
  // A transform id driven by a linear combination.
  BaUnlockedTransform(int id, float constant, BtDArray<Term> terms);

  // False for a transform that its body does not have.
  [[nodiscard]] bool exists() const { return _sysvar_id >= 0; }
  // The variable of a single-variable transform; asserts that this is one.
  [[nodiscard]] int sysVarId() const;
  // Constant and terms of a linear combination; 0 and none for other transforms.
  [[nodiscard]] float constant() const { return _combination->constant; }
  [[nodiscard]] const BtDArray<Term>& terms() const { return _combination->terms; }

  // The value in a frame, which `value_of` tells: value_of(id) is the value of a variable, 1 or
  // above, as BaFrame answers it. 0 for a transform that nothing drives.
  template <class Frame>
  [[nodiscard]] double value(const Frame& value_of) const {
    if (_sysvar_id > 0) return static_cast<double>(value_of(_sysvar_id));
    auto sum = static_cast<double>(constant());
    for (const Term& term : terms()) {
      sum += static_cast<double>(term.coefficient) * static_cast<double>(value_of(term.sysvar_id));
    }
    return sum;
  }

  [[nodiscard]] bool usesSysVarId(int var_id) const;
  // What the value changes by when a variable, 1 or above, changes by 1: the sum of its factors.
  [[nodiscard]] double factor(int var_id) const;
  // Calls visit(id) with every variable id of the transform, 0 left out.
  template <class Visit>
  void forEachSysVarId(Visit visit) const {
    if (_sysvar_id > 0) visit(_sysvar_id);
    for (const Term& term : terms()) visit(term.sysvar_id);
  }
  // Replaces every variable id by renumber(id); 0 stays, as it stands for no variable. Asserts that
  // a new id is 0 or above, in a combination 1 or above.
  template <class Renumber>
  void renumberSysVarIds(Renumber renumber) {
    if (_sysvar_id > 0) {
      _sysvar_id = renumber(_sysvar_id);
      BtAssert(_sysvar_id >= 0, "sysvar_id>=0");
    }
    if (!isCombination()) return;
    for (Term& term : _combination.change().terms) {
      term.sysvar_id = renumber(term.sysvar_id);
      BtAssert(term.sysvar_id >= 1, "sysvar_id>=1");
    }
  }

  bool operator==(const BaUnlockedTransform& other) const = default;

 private:
  struct Combination {
    float constant = 0;
    BtDArray<Term> terms;
    bool operator==(const Combination& other) const = default;
  };

  int _sysvar_id = -1;  // of a single variable; 0 in a combination; -1 when driven by nothing
  BtRare<Combination> _combination;
};

// Transforms in the order in which they are applied.
using BaUnlockedTransformList = BtDArray<BaUnlockedTransform>;

// The variable of a single-variable transform.
[[nodiscard]] int TransformSysVarId(const BaUnlockedTransform& transform);
[[nodiscard]] std::unique_ptr<BaUnlockedTransform> TransformDup(
    const BaUnlockedTransform& transform);
// The transform of an id, driven by one variable or by a combination; both arrays of a combination
// have one entry per term.
[[nodiscard]] std::unique_ptr<BaUnlockedTransform> CreateTransform(int id, int sysvar_id);
[[nodiscard]] std::unique_ptr<BaUnlockedTransform> CreateTransform(
    int id, float constant, const BtDArray<int>& ids, const BtDArray<float>& coefficients);

// The transform of an id in a list, null when the list has none.
[[nodiscard]] const BaUnlockedTransform* FindTransform(const BaUnlockedTransformList& list, int id);
// A transform of this type about the first axis for which the list has no transform of the kind.
// Asserts that there is such an axis.
[[nodiscard]] BaUnlockedTransform GetNonExistingTF(const BaUnlockedTransformList& list, int type);
// Inserts a transform after the last one of the type; asserts that there is one.
void InsertAfter(BaUnlockedTransformList* list, int type, const BaUnlockedTransform& transform);
