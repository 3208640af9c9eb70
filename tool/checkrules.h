// The rules of "check". Each looks for a few kinds of findings and changes nothing.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "findings.h"
#include "geometry.h"
#include "inputs.h"
#include "textrecords.h"

class BaModelData;
class BaUnlockedMapping;

// The texts of both files, looked into when a rule wants to.
class CheckTexts {
 public:
  CheckTexts(std::string model_file, std::string dof_file)
      : _model_file(std::move(model_file)), _dof_file(std::move(dof_file)) {}
  const TextRecords& model() { return _get(_model_file, &_model); }
  const TextRecords& mapping() { return _get(_dof_file, &_mapping); }

 private:
  static const TextRecords& _get(const std::string& file, std::optional<TextRecords>* text) {
    if (!*text) text->emplace(file);
    return **text;
  }
  std::string _model_file;
  std::string _dof_file;
  std::optional<TextRecords> _model;
  std::optional<TextRecords> _mapping;
};

struct CheckInput {
  std::string model_file;
  std::string dof_file;
  const BaModel& model;
  const BaUnlockedMapping* mapping;  // null where none was given
  CheckTexts* texts;
  double scale_factor;                // of the conversion
  std::vector<const BaBody*> bodies;  // parents before their children
};

using CheckRule = void (*)(const CheckInput& input, Findings* findings);

// About bodies and weights; about joints; about shapes; about closed shells; about faces beside
// each other; about what names tell; about what
// readers pass over; about names, materials and textures; about the mapping.
std::span<const CheckRule> BodyRules();
std::span<const CheckRule> JointRules();
std::span<const CheckRule> ShapeRules();
std::span<const CheckRule> ShellRules();
std::span<const CheckRule> WindingRules();
std::span<const CheckRule> FigureRules();
std::span<const CheckRule> TextRules();
std::span<const CheckRule> MaterialRules();
std::span<const CheckRule> MappingRules();

// What lengths in this unit must be multiplied by, 0 where that is not known.
double CentimetresPer(const BaUnits& units);

inline Place PlaceOf(const BaBody& body) { return {"body", Text(body.name()), body.id()}; }
inline Place PlaceOf(const BaMaterial& material) {
  return {"material", Text(material.name()), material.id()};
}

// Adds what readers and the conversion recorded. `fallback` is the kind of errors without a code.
// Warnings of a kind that a rule has found already, place and all, are passed over.
void AddMessages(const std::vector<Message>& messages, const Place& place,
                 const FindingKind* fallback, Findings* findings);

// Says where findings are of which only the subject is known.
void PlaceFindings(const CheckInput& input, Findings* findings);

// Converts the model as the converter does, but keeps nothing: whatever the rules do not know is
// found here. The model loses its bones and unused materials. Nothing is done where errors were
// found before, as a conversion might not survive them.
void TryConversion(const CheckInput& input, BaModel* model, Findings* findings);
