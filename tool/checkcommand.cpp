// "check": finds what would make a conversion fail or look wrong.
#include <unistd.h>

#include <iostream>

#include "Ba/bamapping.h"
#include "arguments.h"
#include "checkedfiles.h"
#include "json.h"
#include "style.h"

namespace {

void PrintFindings(const Findings& findings, bool readable, std::ostream& os) {
  constexpr Style kStyles[] = {Style::Faint, Style::Warning, Style::Error};
  for (const Severity severity : {Severity::Error, Severity::Warning, Severity::Note}) {
    for (const Finding& finding : findings.list()) {
      if (finding.kind->severity != severity) continue;
      if (!finding.where.file.empty()) os << Printable(WhereText(finding.where)) << ": ";
      os << Styled(kStyles[static_cast<int>(severity)], SeverityName(severity)) << ": "
         << TextOf(finding) << Printable(ChainText(finding.where)) << "\n";
      if (isatty(STDOUT_FILENO) == 1) os << CaretText(finding.where);
    }
  }
  const int errors = findings.count(Severity::Error);
  const std::string summary = Counted(errors, "error", "errors") + ", " +
                              Counted(findings.count(Severity::Warning), "warning", "warnings") +
                              ", " + Counted(findings.count(Severity::Note), "note", "notes");
  os << Styled(errors > 0 ? Style::Error : Style::Good, summary)
     << (readable ? "" : "; what could not be read was not checked") << "\n";
}

}  // namespace

int RunCheck(const Arguments& arguments) {
  const std::string& model_file = arguments.files[0];
  const bool has_mapping = arguments.files.size() > 1;
  const CheckedFiles checked(model_file, has_mapping ? arguments.files[1] : "");
  const Findings& findings = checked.findings;
  const bool readable = checked.readable;
  const int errors = findings.count(Severity::Error);
  const int status = StatusOf(checked);
  if (!arguments.json) {
    checked.complain();
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
  answer["findings"] = ToJson(findings);
  PrintJson(answer, std::cout);
  return status;
}
