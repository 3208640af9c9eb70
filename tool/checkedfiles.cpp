#include "checkedfiles.h"

#include <utility>

#include "arguments.h"
#include "checkrules.h"

namespace {

std::string PlaceText(const Place& place) {
  std::string text = place.kind;
  if (!place.name.empty()) text += " " + place.name;
  if (place.id)
    text += place.name.empty() ? " " + std::to_string(*place.id)
                               : " (id " + std::to_string(*place.id) + ")";
  return text;
}

void Run(std::span<const CheckRule> rules, const CheckInput& input, Findings* findings) {
  for (const CheckRule rule : rules) rule(input, findings);
}

}  // namespace

CheckedFiles::CheckedFiles(std::string model_name, std::string dof_name)
    : model_file(std::move(model_name)), dof_file(std::move(dof_name)) {
  const bool has_mapping = !dof_file.empty();
  model_messages = ReadModel(model_file, &model);
  if (has_mapping) mapping_messages = ReadMapping(dof_file, &mapping);
  readable = !HasError(model_messages) && !HasError(mapping_messages);
  if (readable) {
    const CheckInput input = {model_file, dof_file, model, has_mapping ? &mapping : nullptr,
                              BodiesInOrder(model)};
    Run(BodyRules(), input, &findings);
    Run(MaterialRules(), input, &findings);
    if (has_mapping) Run(MappingRules(), input, &findings);
    TryConversion(input, &model, &findings);
  }
  AddMessages(model_messages, {"model", model_file, {}}, Kind("model-unreadable"), &findings);
  if (has_mapping) {
    AddMessages(mapping_messages, {"mapping", dof_file, {}}, Kind("mapping-unreadable"), &findings);
  }
}

void CheckedFiles::complain() const {
  PrintError(model_file, model_messages);
  PrintError(dof_file, mapping_messages);
}

int StatusOf(const CheckedFiles& checked) {
  if (!checked.readable) return kExitTrouble;
  return checked.findings.count(Severity::Error) > 0 ? kExitFound : kExitGood;
}

std::string TextOf(const Finding& finding) {
  return std::string(finding.kind->code) + ": " + Printable(PlaceText(finding.place)) + ": " +
         finding.kind->text + " (" + Printable(finding.text) + ")";
}
