// What "check" can find: one table.
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>

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
  const char* advice;  // what to do about it; empty for nothing
};

inline constexpr FindingKind kFindingKinds[] = {
    // Files that cannot be read.
    {"file-unopened", Severity::Error, "the file cannot be opened",
     "mend its name or its permissions"},
    {"model-unreadable", Severity::Error, "the model cannot be read",
     "mend the model at the place that is named"},
    {"mapping-unreadable", Severity::Error, "the mapping cannot be read",
     "mend the mapping at the place that is named"},
    {"file-kind", Severity::Error, "the file is of another kind", "give the right file"},
    {"file-encoding", Severity::Error, "the text is encoded in a way that is not read",
     "save it as the message says"},
    {"file-header", Severity::Error, "the first line is not quite right",
     "write it as the message says"},
    {"file-empty", Severity::Error, "the file is empty", "export it again"},
    {"decimal-comma", Severity::Error, "a number has a decimal comma",
     "export it again with decimal points"},
    {"include-backslash", Severity::Error, "an include has backslashes in its name",
     "write slashes"},
    {"number-missing", Severity::Error, "what stands for a number is none",
     "look for a division by zero in what wrote it, and export it again"},
    {"merge-conflict", Severity::Error, "a merge was left unfinished in the file",
     "keep one of the versions and take the lines of marks out"},
    {"file-damaged", Severity::Error, "the file is damaged", "copy or export it again"},
    {"version-unsupported", Severity::Error, "the file is of a version that is not read",
     "export the file again in a version that is read"},
    {"include-circle", Severity::Error, "a file includes itself",
     "take one INCLUDE of the circle out"},
    {"parent-missing", Severity::Error, "a body names a parent that does not exist",
     "add the parent, or name one that there is"},
    {"parent-circle", Severity::Error, "a body is its own ancestor",
     "give one of the bodies another parent"},
    {"body-id-duplicate", Severity::Error, "two bodies have one id",
     "give one of the bodies another id"},
    {"body-id-range", Severity::Error, "a body id is out of range", "use ids from 1 to 4194303"},
    {"body-mapped-twice", Severity::Error, "a body has two maps",
     "take one of the maps out, or mend its body id"},
    {"material-missing", Severity::Error, "a shape uses a material that does not exist",
     "define the material in front of the shape, or use one that there is"},
    {"flex-target-undefined", Severity::Error, "vertices follow a body that does not exist",
     "name a body that there is, defined in front of the shape"},
    {"variable-overlap", Severity::Error, "included mappings use the same variables",
     "raise SYSTEM_VARIABLE_ID_OFFSET, or leave it out"},
    // What makes a conversion fail.
    {"body-name-clash", Severity::Error, "two bodies have one name after blanks became _",
     "rename one of the bodies"},
    {"body-name-world", Severity::Error, "a body has the name of the world", "rename the body"},
    {"left-handed", Severity::Error, "a rest transform is mirrored or flat",
     "export the body again without mirroring; mirror its vertices instead"},
    {"mapped-body-missing", Severity::Error, "the mapping names a body that is not in the model",
     "mend the id in the mapping, or take the map out"},
    {"mapping-foreign", Severity::Error, "the mapping seems to be that of another character",
     "give the mapping of this model"},
    {"rotation-axes", Severity::Error, "a mapped body does not turn about each axis once",
     "list each of the transforms 1 to 6 once"},
    {"number-out-of-range", Severity::Error, "a number has no place in an FBX file",
     "look for a slip in the exponent"},
    {"conversion-fails", Severity::Error, "the conversion fails for another reason",
     "mend what the message names"},
    // What makes it look wrong.
    {"angles-degrees", Severity::Warning, "angles go beyond a turn in radians",
     "they are degrees: write ANGLE: 1 DEGREES in UNITS"},
    {"angles-radians", Severity::Warning, "angles look like radians, but the unit is degrees",
     "write ANGLE: 1 RADIANS in UNITS"},
    {"size-odd", Severity::Warning, "the character is smaller than 20 cm or larger than 30 m",
     "mend the unit, or give -scale_factor"},
    {"lies-down", Severity::Warning, "the model does not seem to stand upright",
     "turn the bodies at the top so that y is up, or tell the receiver"},
    {"vertex-far", Severity::Warning, "a vertex is far away from its body", "move it back"},
    {"joint-far", Severity::Warning, "a joint is far away from the shape of its body",
     "mend the rest transform of the body, or its parent"},
    {"joint-off-bone", Severity::Warning, "a joint is not where the bone of its parent ends",
     "move the joint back, or mend the bone"},
    {"number-odd", Severity::Warning, "a number can hardly be meant",
     "look for a slip in the exponent, or for a point that is missing"},
    {"sides-differ", Severity::Warning, "left and right are not as far from their parents",
     "move the one that is wrong back"},
    {"sides-exchanged", Severity::Warning, "left and right seem to be exchanged",
     "exchange the names of the two, or the places"},
    {"inside-out", Severity::Warning, "closed shells are inside out",
     "turn the order of the corners of their polygons round"},
    {"polygon-flipped", Severity::Warning, "polygons face the other way than their neighbours",
     "turn the order of their corners round"},
    {"polygon-double", Severity::Warning, "polygons lie on others that are the same",
     "take one of each two out"},
    {"texture-coordinates", Severity::Warning, "texture coordinates are beyond 100",
     "look for pixels written as coordinates, or a slip"},
    {"after-end", Severity::Warning, "nobody reads what stands behind END",
     "move END: to the end, or take the rest out"},
    {"mapping-partial", Severity::Warning, "the mapping drives a part of the character only",
     "make sure that it is whole, and that of this model"},
    {"body-unmapped", Severity::Warning, "no variable drives the body; its rotation order is XYZ",
     "add a body map, unless the body is to rest"},
    {"scaled-transform", Severity::Warning, "a rest transform is scaled or sheared",
     "freeze the scale into the vertices and export again"},
    {"weight-above-one", Severity::Warning, "weights of a vertex come to more than 1",
     "normalise the weights"},
    {"weight-negative", Severity::Warning, "weights are negative", "set them to 0 or above"},
    {"flex-target-missing", Severity::Warning, "vertices follow the world or a missing body",
     "name the body that they shall follow"},
    {"flex-outside-chain", Severity::Warning, "vertices follow a body of another chain",
     "hang both bodies under one root, or convert without -mesh_per_body"},
    {"texture-missing", Severity::Warning, "the picture of a texture is not found",
     "put the picture beside the model, or mend its name"},
    {"texture-case", Severity::Warning, "the picture has other capital letters in its name",
     "write the name as the file has it"},
    {"texture-idle", Severity::Warning, "a textured material is on polygons without coordinates",
     "give the polygons texture coordinates, or the material no texture"},
    {"material-clear", Severity::Warning, "a material cannot be seen: its alpha is 0",
     "write 1 for what is opaque"},
    {"colour-range", Severity::Warning, "a colour goes beyond 0 to 1",
     "divide colours from 0 to 255 by 255"},
    {"texture-unreadable", Severity::Warning, "the picture of a texture cannot be opened",
     "mend the file or its permissions"},
    {"texture-no-picture", Severity::Warning, "the file of a texture is no picture that is known",
     "save the picture as PNG, JPEG, TIFF, TGA or BMP"},
    {"texture-second", Severity::Warning, "a material has two textures of one kind",
     "keep one texture of the kind"},
    {"material-name-clash", Severity::Warning, "two materials have one name",
     "rename one of the materials"},
    {"polygon-degenerate", Severity::Warning, "polygons have no area",
     "clean the mesh of faces without area"},
    {"polygon-nonplanar", Severity::Note, "the corners of polygons are in no plane",
     "triangulate where readers shall cut it as you do"},
    {"vertex-duplicate", Severity::Warning, "polygons repeat a vertex",
     "clean the mesh of doubled corners"},
    {"name-double-colon", Severity::Warning, "a name holds ::, which FBX keeps for itself",
     "rename it"},
    {"name-control", Severity::Warning, "a name holds control characters", "rename it"},
    {"name-encoding", Severity::Warning, "a name is not in UTF-8", "save the file as UTF-8"},
    {"name-long", Severity::Warning, "a name has more than 63 bytes, where readers cut it",
     "shorten it"},
    {"name-clash", Severity::Warning, "names differ in case only, or are one name in the FBX",
     "rename one of the two"},
    {"transform-order", Severity::Warning, "a body map repeats a transform and lacks another",
     "list each of the transforms 1 to 6 once"},
    {"constant-offset", Severity::Warning, "constants move a body away from its rest pose",
     "put the offset into the rest transform, unless it is meant"},
    {"translation-late", Severity::Note, "a body moves along axes that have turned already",
     "list translations in front of rotations, unless it is meant"},
    {"slider-variables", Severity::Warning, "a slider has two variables", "keep one of them"},
    {"variable-shared", Severity::Warning, "one variable drives several transforms alone",
     "give each transform a variable of its own, unless that is meant"},
    {"variable-count", Severity::Warning, "the mapping has another number of variables",
     "mend the number in the third line"},
    {"slider-unknown", Severity::Warning, "the mapping drives a slider that is not in the model",
     "mend the names of group and slider, or take them out"},
    {"texture-map-unknown", Severity::Warning, "the mapping drives a material that is missing",
     "mend the material id"},
    {"units-differ", Severity::Warning, "an included model has other units",
     "export both models in one unit"},
    {"left-out", Severity::Warning, "something has no form in the output",
     "expect it to be missing"},
    {"no-bodies", Severity::Warning, "the model has no bodies",
     "make sure that the export held the skeleton"},
    {"other-warning", Severity::Warning, "the conversion warns", "see what the message names"},
    // What is worth knowing.
    {"units-not-inches", Severity::Note, "lengths are not in inches, as the scale factor assumes",
     "give -scale_factor to match"},
    {"material-unused", Severity::Note, "no polygon uses the material",
     "give it to a shape, or take it out"},
    {"id-gap", Severity::Note, "body ids are not used in between", ""},
    {"slider-unmapped", Severity::Note, "the mapping does not drive the slider",
     "add it to a BLEND_EFFECT_MAP, unless it is to rest"},
    {"not-converted", Severity::Note, "a conversion passes over some kinds of records", ""},
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
