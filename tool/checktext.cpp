#include "checktext.h"

#include <unistd.h>

#include <algorithm>
#include <ostream>
#include <sstream>

#include "checkedfiles.h"
#include "findings.h"
#include "inputs.h"
#include "style.h"

namespace {

constexpr std::size_t kShownPlaces = 3;  // of findings of one code

using FindingsOfOneKind = std::vector<const Finding*>;

// The names of files stand in front.
std::string PlaceText(const Place& place) {
  std::string text = place.kind;
  if (text == "model" || text == "mapping") return text;
  if (!place.name.empty()) text += " " + place.name;
  if (place.id) {
    text += place.name.empty() ? " " + std::to_string(*place.id)
                               : " (id " + std::to_string(*place.id) + ")";
  }
  return text;
}

std::string AdviceText(const FindingKind& kind) {
  return *kind.advice == '\0' ? "" : std::string("; ") + kind.advice;
}

// "body arm (id 2): 3 vertices, line 12", the file where it is not the one of the first finding.
std::string ShortText(const Finding& finding, const Finding& first) {
  std::string text = PlaceText(finding.place);
  if (!finding.text.empty()) text += ": " + finding.text;
  if (&finding == &first || finding.where.line == 0) return text;
  return text + (finding.where.file == first.where.file
                     ? ", line " + std::to_string(finding.where.line)
                     : ", " + WhereText(finding.where));
}

std::string FoldedText(const FindingsOfOneKind& same) {
  const Finding& first = *same.front();
  std::string text = std::string(first.kind->code) + ": " + first.kind->text + ", " +
                     std::to_string(same.size()) + " times (";
  const std::size_t shown = std::min(same.size(), kShownPlaces);
  for (std::size_t i = 0; i < shown; ++i) {
    text += (i == 0 ? "" : "; ") + ShortText(*same[i], first);
  }
  if (same.size() > shown) text += "; and " + std::to_string(same.size() - shown) + " more";
  return Printable(text + ")" + AdviceText(*first.kind));
}

void PrintLine(const Finding& finding, const std::string& text, std::ostream& os) {
  constexpr Style kStyles[] = {Style::Faint, Style::Warning, Style::Error};
  const Severity severity = finding.kind->severity;
  if (!finding.where.file.empty()) os << Printable(WhereText(finding.where)) << ": ";
  os << Styled(kStyles[static_cast<int>(severity)], SeverityName(severity)) << ": " << text
     << Printable(ChainText(finding.where)) << "\n";
  if (IsOnTerminal(STDOUT_FILENO)) os << CaretText(finding.where);
  std::istringstream lines(finding.detail);
  for (std::string line; std::getline(lines, line);) os << "    " << Printable(line) << "\n";
}

// The findings by kind: the severest first, those of a severity as they came.
std::vector<FindingsOfOneKind> ByKind(const Findings& findings) {
  std::vector<FindingsOfOneKind> kinds;
  for (const Finding& finding : findings.list()) {
    const auto same = std::ranges::find_if(kinds, [&finding](const FindingsOfOneKind& others) {
      return others.front()->kind == finding.kind;
    });
    if (same == kinds.end()) {
      kinds.push_back({&finding});
    } else {
      same->push_back(&finding);
    }
  }
  std::ranges::stable_sort(kinds, std::greater<>(), [](const FindingsOfOneKind& same) {
    return same.front()->kind->severity;
  });
  return kinds;
}

}  // namespace

std::string TextOf(const Finding& finding) {
  std::string text =
      std::string(finding.kind->code) + ": " + PlaceText(finding.place) + ": " + finding.kind->text;
  if (!finding.text.empty()) text += " (" + finding.text + ")";
  return Printable(text + AdviceText(*finding.kind));
}

void PrintFindings(const Findings& findings, bool all, std::ostream& os) {
  for (const FindingsOfOneKind& same : ByKind(findings)) {
    if (same.size() > 1 && !all) {
      PrintLine(*same.front(), FoldedText(same), os);
    } else {
      for (const Finding* finding : same) PrintLine(*finding, TextOf(*finding), os);
    }
  }
}

std::string SummaryOf(const CheckedFiles& checked) {
  const Findings& findings = checked.findings;
  return Counted(findings.count(Severity::Error), "error", "errors") + ", " +
         Counted(findings.count(Severity::Warning), "warning", "warnings") + ", " +
         Counted(findings.count(Severity::Note), "note", "notes") +
         (checked.readable ? "" : "; what could not be read was not checked");
}
