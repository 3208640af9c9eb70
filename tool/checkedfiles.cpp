#include "checkedfiles.h"

#include <fstream>
#include <system_error>
#include <utility>

#include "arguments.h"
#include "checkrules.h"

namespace {

void Run(std::span<const CheckRule> rules, const CheckInput& input, Findings* findings) {
  for (const CheckRule rule : rules) rule(input, findings);
}

// Drops the findings that nobody wants to hear of.
void Choose(const CheckOptions& options, std::vector<Finding>* findings) {
  std::erase_if(*findings, [&options](const Finding& finding) {
    const std::string code = finding.kind->code;
    const bool wanted = options.only.empty() || std::ranges::count(options.only, code) > 0;
    return !wanted || std::ranges::count(options.ignore, code) > 0;
  });
}

const FindingKind* UnreadableKind(const std::string& file, const FindingKind* otherwise) {
  return CanBeOpened(file) ? otherwise : Kind("file-unopened");
}

}  // namespace

CheckedFiles::CheckedFiles(std::string model_name, std::string dof_name, CheckOptions check_options)
    : model_file(std::move(model_name)),
      dof_file(std::move(dof_name)),
      options(std::move(check_options)) {
  const bool has_mapping = !dof_file.empty();
  const std::vector<Message> model_messages = ReadModel(model_file, &model);
  std::vector<Message> mapping_messages;
  if (has_mapping) mapping_messages = ReadMapping(dof_file, &mapping);
  readable = !HasError(model_messages) && !HasError(mapping_messages);
  CheckTexts texts(model_file, dof_file);
  CheckInput input = {
      model_file,           dof_file, model, has_mapping ? &mapping : nullptr, &texts,
      options.scale_factor, {}};
  if (readable) {
    input.bodies = BodiesInOrder(model);
    Run(BodyRules(), input, &findings);
    for (const auto& rules :
         {JointRules(), ShapeRules(), ShellRules(), WindingRules(), FigureRules(), TextRules()}) {
      Run(rules, input, &findings);
    }
    Run(MaterialRules(), input, &findings);
    if (has_mapping) Run(MappingRules(), input, &findings);
    TryConversion(input, &model, &findings);
  }
  AddMessages(model_messages, {"model", model_file, {}},
              UnreadableKind(model_file, Kind("model-unreadable")), &findings);
  AddMessages(mapping_messages, {"mapping", dof_file, {}},
              UnreadableKind(dof_file, Kind("mapping-unreadable")), &findings);
  opened = !findings.has(Kind("file-unopened"));
  Choose(options, &findings.list());
  PlaceFindings(input, &findings);
}

int StatusOf(const CheckedFiles& checked) {
  if (!checked.opened) return kExitTrouble;
  const bool fails = checked.findings.count(Severity::Error) > 0 ||
                     (checked.options.strict && checked.findings.count(Severity::Warning) > 0);
  return fails || !checked.readable ? kExitFound : kExitGood;
}
