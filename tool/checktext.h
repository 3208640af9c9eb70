// Findings as text.
#pragma once

#include <iosfwd>
#include <string>

struct CheckedFiles;
struct Finding;
class Findings;

// A finding in one line, without its severity and its place in the file.
[[nodiscard]] std::string TextOf(const Finding& finding);
// "FILE:LINE:COLUMN: error: TEXT" for each, errors first. Several of one code become one line with
// the first places, unless all are wanted.
void PrintFindings(const Findings& findings, bool all, std::ostream& os);
// "1 error, 2 warnings, 0 notes".
[[nodiscard]] std::string SummaryOf(const CheckedFiles& checked);
