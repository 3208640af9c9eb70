// What "check" can find: one table of kinds, and the list of what was found.
#pragma once

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "where.h"

enum class Severity { Note, Warning, Error };
inline const char* SeverityName(Severity severity) {
  constexpr const char* kNames[] = {"note", "warning", "error"};
  return kNames[static_cast<int>(severity)];
}

// Codes are for scripts and never change their meaning. Messages of the libraries come with theirs.
struct FindingKind {
  const char* code;
  Severity severity;
  const char* text;
};

inline constexpr FindingKind kFindingKinds[] = {
    // Files that cannot be read.
    {"model-unreadable", Severity::Error, "the model cannot be read"},
    {"mapping-unreadable", Severity::Error, "the mapping cannot be read"},
    {"version-unsupported", Severity::Error, "the file is of a version that is not read"},
    {"include-circle", Severity::Error, "a file includes itself"},
    {"parent-missing", Severity::Error, "a body names a parent that does not exist"},
    {"parent-circle", Severity::Error, "a body is its own ancestor"},
    {"body-id-duplicate", Severity::Error, "two bodies have one id"},
    {"body-id-range", Severity::Error, "a body id is out of range"},
    {"body-mapped-twice", Severity::Error, "a body has two maps"},
    {"material-missing", Severity::Error, "a shape uses a material that does not exist"},
    {"flex-target-undefined", Severity::Error, "vertices follow a body that does not exist"},
    {"variable-overlap", Severity::Error, "included mappings use the same variables"},
    // What makes a conversion fail.
    {"body-name-clash", Severity::Error, "two bodies have one name after blanks became _"},
    {"body-name-world", Severity::Error, "a body has the name of the world"},
    {"left-handed", Severity::Error, "a rest transform is mirrored or flat"},
    {"mapped-body-missing", Severity::Error, "the mapping names a body that is not in the model"},
    {"rotation-axes", Severity::Error, "a mapped body does not turn about each axis once"},
    {"number-out-of-range", Severity::Error, "a number has no place in an FBX file"},
    {"conversion-fails", Severity::Error, "the conversion fails for another reason"},
    // What makes it look wrong.
    {"body-unmapped", Severity::Warning, "no variable drives the body; its rotation order is XYZ"},
    {"scaled-transform", Severity::Warning, "a rest transform is scaled or sheared"},
    {"weight-above-one", Severity::Warning, "weights of a vertex come to more than 1"},
    {"weight-negative", Severity::Warning, "weights are negative"},
    {"flex-target-missing", Severity::Warning, "vertices follow the world or a missing body"},
    {"flex-outside-chain", Severity::Warning, "vertices follow a body of another chain"},
    {"texture-missing", Severity::Warning, "the picture of a texture is not found"},
    {"texture-unreadable", Severity::Warning, "the picture of a texture cannot be opened"},
    {"texture-no-picture", Severity::Warning, "the file of a texture is no picture that is known"},
    {"texture-second", Severity::Warning, "a material has two textures of one kind"},
    {"material-name-clash", Severity::Warning, "two materials have one name"},
    {"polygon-degenerate", Severity::Warning, "polygons have no area"},
    {"polygon-nonplanar", Severity::Warning, "the corners of polygons are in no plane"},
    {"vertex-duplicate", Severity::Warning, "polygons repeat a vertex"},
    {"name-double-colon", Severity::Warning, "a name holds ::, which FBX keeps for itself"},
    {"name-control", Severity::Warning, "a name holds control characters"},
    {"name-encoding", Severity::Warning, "a name is not in UTF-8"},
    {"name-long", Severity::Warning, "a name has more than 63 bytes, where readers cut it"},
    {"name-clash", Severity::Warning, "names differ in case only, or are one name in the FBX"},
    {"variable-shared", Severity::Warning, "one variable drives several transforms alone"},
    {"variable-count", Severity::Warning, "the mapping has another number of variables"},
    {"slider-unknown", Severity::Warning, "the mapping drives a slider that is not in the model"},
    {"texture-map-unknown", Severity::Warning, "the mapping drives a material that is missing"},
    {"units-differ", Severity::Warning, "an included model has other units"},
    {"left-out", Severity::Warning, "something has no form in the output"},
    {"no-bodies", Severity::Warning, "the model has no bodies"},
    {"other-warning", Severity::Warning, "the conversion warns"},
    // What is worth knowing.
    {"units-not-inches", Severity::Note, "lengths are not in inches, as the scale factor assumes"},
    {"material-unused", Severity::Note, "no polygon uses the material"},
    {"id-gap", Severity::Note, "body ids are not used in between"},
    {"slider-unmapped", Severity::Note, "the mapping does not drive the slider"},
    {"not-converted", Severity::Note, "a conversion passes over some kinds of records"},
};

// The kind of a code, null where the table has none.
constexpr const FindingKind* FindKind(std::string_view code) {
  const auto* const found = std::ranges::find(kFindingKinds, code, &FindingKind::code);
  return found == std::end(kFindingKinds) ? nullptr : found;
}

// The same, found by the compiler: a code that is not in the table does not compile.
consteval const FindingKind* Kind(std::string_view code) {
  const FindingKind* const kind = FindKind(code);
  if (kind == nullptr) throw "there is no such code";
  return kind;
}

// What a finding is about.
struct Place {
  const char* kind;  // "model", "mapping", "body", "material", "slider", "variable"
  std::string name;
  std::optional<int> id;
};

struct Finding {
  const FindingKind* kind;
  Place place;
  std::string text;
  int count;    // how many vertices, polygons or messages it stands for
  Where where;  // as far as it is known
};

class Findings {
 public:
  void add(const FindingKind* kind, Place place, std::string text, int count = 1,
           Where where = {}) {
    _list.push_back({kind, std::move(place), std::move(text), count, std::move(where)});
  }
  [[nodiscard]] const std::vector<Finding>& list() const { return _list; }
  [[nodiscard]] bool has(const FindingKind* kind) const {
    return std::any_of(_list.begin(), _list.end(),
                       [kind](const Finding& f) { return f.kind == kind; });
  }
  [[nodiscard]] int count(Severity severity) const {
    return static_cast<int>(std::count_if(_list.begin(), _list.end(), [severity](const Finding& f) {
      return f.kind->severity == severity;
    }));
  }

 private:
  std::vector<Finding> _list;
};
