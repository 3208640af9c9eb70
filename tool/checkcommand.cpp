// "check": finds what would make a conversion fail or look wrong.
#include <iostream>

#include "arguments.h"
#include "checkedfiles.h"
#include "checktext.h"
#include "delivery.h"
#include "inputs.h"
#include "json.h"
#include "manyfiles.h"
#include "motionfiles.h"
#include "style.h"

namespace {

// False, with a complaint, for a code that there is not.
bool CheckCodes(const std::vector<std::string>& codes) {
  for (const std::string& code : codes) {
    if (FindKind(code) != nullptr) continue;
    Complain("check", "there is no code '" + code + "'");
    return false;
  }
  return true;
}

Json AnswerOf(const CheckedFiles& checked) {
  const Findings& findings = checked.findings;
  Json answer = JsonHeader("check");
  answer["model"] = checked.model_file;
  answer["mapping"] = checked.dof_file.empty() ? Json(nullptr) : Json(checked.dof_file);
  answer["readable"] = checked.readable;
  answer["counts"] = {{"error", findings.count(Severity::Error)},
                      {"warning", findings.count(Severity::Warning)},
                      {"note", findings.count(Severity::Note)}};
  answer["findings"] = ToJson(findings);
  return answer;
}

}  // namespace

int RunCheck(const Arguments& arguments) {
  if (!CheckCodes(arguments.only) || !CheckCodes(arguments.ignore) ||
      !CheckPositive("--scale-factor", static_cast<float>(arguments.scale_factor))) {
    return kExitTrouble;
  }
  if (IsDelivery(arguments.files[0])) return CheckMany(arguments);
  const CheckedFiles checked(
      arguments.files[0], arguments.files.size() > 1 ? arguments.files[1] : "",
      {arguments.scale_factor, arguments.only, arguments.ignore, arguments.strict});
  const int status = StatusOf(checked);
  if (arguments.json) {
    PrintJson(AnswerOf(checked), std::cout);
    return status;
  }
  PrintFindings(checked.findings, arguments.all, std::cout);
  const bool has_errors = checked.findings.count(Severity::Error) > 0;
  std::cout << Styled(has_errors ? Style::Error : Style::Good, SummaryOf(checked)) << "\n";
  return status;
}
