// "check": finds what would make a conversion fail or look wrong.
#include <iostream>

#include "Ba/bamapping.h"
#include "arguments.h"
#include "checkrules.h"
#include "json.h"
#include "style.h"

namespace {

const char* SeverityName(Severity severity) {
  constexpr const char* kNames[] = {"note", "warning", "error"};
  return kNames[static_cast<int>(severity)];
}

std::string PlaceText(const Place& place) {
  std::string text = place.kind;
  if (!place.name.empty()) text += " " + place.name;
  if (place.id)
    text += place.name.empty() ? " " + std::to_string(*place.id)
                               : " (id " + std::to_string(*place.id) + ")";
  return text;
}

void PrintFindings(const Findings& findings, bool readable, std::ostream& os) {
  constexpr Style kStyles[] = {Style::Faint, Style::Warning, Style::Error};
  for (const Severity severity : {Severity::Error, Severity::Warning, Severity::Note}) {
    for (const Finding& finding : findings.list()) {
      if (finding.kind->severity != severity) continue;
      os << Styled(kStyles[static_cast<int>(severity)], SeverityName(severity)) << ": "
         << finding.kind->code << ": " << Printable(PlaceText(finding.place)) << ": "
         << finding.kind->text << " (" << Printable(finding.text) << ")\n";
    }
  }
  const int errors = findings.count(Severity::Error);
  const std::string summary = Counted(errors, "error", "errors") + ", " +
                              Counted(findings.count(Severity::Warning), "warning", "warnings") +
                              ", " + Counted(findings.count(Severity::Note), "note", "notes");
  os << Styled(errors > 0 ? Style::Error : Style::Good, summary)
     << (readable ? "" : "; what could not be read was not checked") << "\n";
}

Json JsonOfFindings(const Findings& findings) {
  Json list = Json::array();
  for (const Finding& finding : findings.list()) {
    list.push_back(
        {{"code", finding.kind->code},
         {"severity", SeverityName(finding.kind->severity)},
         {"summary", finding.kind->text},
         {"place",
          {{"kind", finding.place.kind},
           {"name", finding.place.name.empty() ? Json(nullptr) : Json(finding.place.name)},
           {"id", finding.place.id ? Json(*finding.place.id) : Json(nullptr)}}},
         {"text", finding.text},
         {"count", finding.count}});
  }
  return list;
}

// A file that cannot be read is told of as by the other commands.
void PrintUnreadable(const std::string& file, const std::vector<Message>& messages) {
  if (HasError(messages)) Complain(file, ErrorText(messages));
}

void Run(std::span<const CheckRule> rules, const CheckInput& input, Findings* findings) {
  for (const CheckRule rule : rules) rule(input, findings);
}

// Checks what was read.
void CheckAll(const Arguments& arguments, BaModel* model, const BaUnlockedMapping* mapping,
              Findings* findings) {
  const CheckInput input = {arguments.files[0], mapping == nullptr ? "" : arguments.files[1],
                            *model, mapping, BodiesInOrder(*model)};
  Run(BodyRules(), input, findings);
  Run(MaterialRules(), input, findings);
  if (mapping != nullptr) Run(MappingRules(), input, findings);
  TryConversion(input, model, findings);
}

}  // namespace

int RunCheck(const Arguments& arguments) {
  const std::string& model_file = arguments.files[0];
  const bool has_mapping = arguments.files.size() > 1;
  Findings findings;
  BaModel model;
  const std::vector<Message> model_messages = ReadModel(model_file, &model);
  BaUnlockedMapping mapping;
  std::vector<Message> mapping_messages;
  if (has_mapping) mapping_messages = ReadMapping(arguments.files[1], &mapping);
  const bool readable = !HasError(model_messages) && !HasError(mapping_messages);
  if (readable) CheckAll(arguments, &model, has_mapping ? &mapping : nullptr, &findings);
  AddMessages(model_messages, {"model", model_file, {}}, Kind("model-unreadable"), &findings);
  if (has_mapping) {
    AddMessages(mapping_messages, {"mapping", arguments.files[1], {}}, Kind("mapping-unreadable"),
                &findings);
  }
  const int errors = findings.count(Severity::Error);
  const int status = !readable ? kExitTrouble : errors > 0 ? kExitFound : kExitGood;
  if (!arguments.json) {
    PrintUnreadable(model_file, model_messages);
    if (has_mapping) PrintUnreadable(arguments.files[1], mapping_messages);
    PrintFindings(findings, readable, std::cout);
    return status;
  }
  Json answer = JsonHeader("check");
  answer["model"] = model_file;
  answer["mapping"] = has_mapping ? Json(arguments.files[1]) : Json(nullptr);
  answer["readable"] = readable;
  answer["counts"] = {{"error", errors},
                      {"warning", findings.count(Severity::Warning)},
                      {"note", findings.count(Severity::Note)}};
  answer["findings"] = JsonOfFindings(findings);
  PrintJson(answer, std::cout);
  return status;
}
