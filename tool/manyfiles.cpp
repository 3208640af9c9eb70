#include "manyfiles.h"

#include <algorithm>
#include <array>
#include <functional>
#include <iostream>
#include <map>
#include <thread>
#include <utility>

#include "Bt/btexcept.h"
#include "delivery.h"
#include "inputs.h"
#include "json.h"
#include "ownprocesses.h"
#include "progress.h"
#include "style.h"
#include "texttable.h"

namespace {

// What a run is about, and what it is asked for.
struct ManyRow {
  std::string name;
  Arguments arguments;
};

// What is told of a command's runs. Results are by exit status, and so is what is said of several.
struct ManyKind {
  const char* command;
  const char* things;
  std::array<const char*, 3> results;
  std::array<const char*, 3> counted;
  std::string (*summary)(const std::string& out);
};

std::string LastLineOf(const std::string& out) {
  const std::size_t end = out.find_last_not_of('\n');
  if (end == std::string::npos) return {};
  const std::size_t start = out.rfind('\n', end);
  return Uncoloured(out.substr(start == std::string::npos ? 0 : start + 1, end - start));
}

// What "info" tells of a model in one line.
std::string HoldsLineOf(const std::string& out) {
  constexpr std::string_view kTitle = "\n  holds ";
  const std::size_t found = out.find(kTitle);
  if (found == std::string::npos) return {};
  const std::size_t start = out.find_first_not_of(' ', found + kTitle.size());
  return out.substr(start, out.find('\n', start) - start);
}

constexpr ManyKind kCheckKind = {"check",
                                 "characters",
                                 {"good", "errors", "trouble"},
                                 {"good", "with errors", "in trouble"},
                                 LastLineOf};
constexpr ManyKind kInfoKind = {"info", "characters", kCheckKind.results, kCheckKind.counted,
                                HoldsLineOf};
constexpr ManyKind kDiffKind = {"diff",
                                "files",
                                {"same", "differs", "trouble"},
                                {"same", "different", "in trouble"},
                                LastLineOf};

// How it came out, by its place among the results; behind them for a crash.
std::size_t ResultOf(const ManyKind& kind, const OwnRun& run) {
  if (run.signal != 0) return kind.results.size();
  return static_cast<std::size_t>(std::clamp(run.status, 0, kExitTrouble));
}

// What a run that failed complained of first: the line of its error.
std::string ComplaintOf(const std::string& err) {
  const std::size_t error = err.find(": error: ");
  const std::size_t start = error == std::string::npos ? 0 : err.rfind('\n', error) + 1;
  return err.substr(start, err.find('\n', start) - start);
}

// Of what is printed in full above, the table has the beginning.
std::string Shortened(std::string text) {
  constexpr std::size_t kShown = 100;
  if (Width(text) <= kShown) return text;
  std::size_t end = kShown;
  while ((static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) --end;
  return text.substr(0, end) + "...";
}

class ManyRuns {
 public:
  ManyRuns(const Arguments& arguments, const ManyKind& kind) : _arguments(arguments), _kind(kind) {}

  // `unpaired` are names of what was left out, each with the reason.
  int run(const std::vector<ManyRow>& rows,
          const std::vector<std::pair<std::string, std::string>>& unpaired);

 private:
  void _add(const ManyRow& row, const OwnRun& run);
  void _addAnswer(const ManyRow& row, const OwnRun& run);
  void _addToTable(const std::string& name, std::size_t result, const std::string& told,
                   const std::string& summary);
  void _print() const;

  const Arguments& _arguments;
  const ManyKind& _kind;
  int _status = kExitGood;
  TextTable _table;
  bool _has_rows = false;
  std::array<int, 4> _counts = {};  // by result
  Json _answers = Json::array();
};

void ManyRuns::_addToTable(const std::string& name, std::size_t result, const std::string& told,
                           const std::string& summary) {
  ++_counts[result];
  if (_arguments.quiet && result == 0) return;
  if (!_has_rows) _table.add({"name", "result", "summary"});
  _has_rows = true;
  _table.add({name, told, _arguments.quiet ? summary : Shortened(summary)},
             result == 0 ? Style::Plain : Style::Error);
}

void ManyRuns::_addAnswer(const ManyRow& row, const OwnRun& run) {
  Json answer = Json::parse(run.out, nullptr, false);
  _answers.push_back({{"name", row.name},
                      {"status", run.signal != 0 ? kExitTrouble : run.status},
                      {"signal", run.signal == 0 ? Json(nullptr) : Json(run.signal)},
                      {"messages", run.err.empty() ? Json(nullptr) : Json(run.err)},
                      {"answer", answer.is_discarded() ? Json(nullptr) : std::move(answer)}});
}

void ManyRuns::_add(const ManyRow& row, const OwnRun& run) {
  _status = std::max(_status, run.signal != 0 ? kExitTrouble : run.status);
  if (_arguments.json) return _addAnswer(row, run);
  const std::size_t result = ResultOf(_kind, run);
  if (_arguments.verbose || (result != 0 && !_arguments.quiet)) {
    std::cout << Styled(Style::Title, row.name) << "\n" << run.out << std::flush;
    std::cerr << run.err;
    std::cout << "\n";
  }
  const std::string told = run.signal == 0 ? std::string(_kind.results[result])
                                           : "crashed (signal " + std::to_string(run.signal) + ")";
  const bool has_answer = result < kExitTrouble || run.err.empty();
  _addToTable(row.name, result, told, has_answer ? _kind.summary(run.out) : ComplaintOf(run.err));
}

void ManyRuns::_print() const {
  if (_has_rows) _table.printOn(std::cout);
  int all = 0;
  std::string parts;
  for (std::size_t i = 0; i < _counts.size(); ++i) {
    all += _counts[i];
    if (_counts[i] == 0) continue;
    parts += (parts.empty() ? "" : ", ") + std::to_string(_counts[i]) + " " +
             (i < _kind.counted.size() ? _kind.counted[i] : "crashed");
  }
  const Style style = _status == kExitGood ? Style::Good : Style::Error;
  std::cout << Styled(style, std::to_string(all) + " " + _kind.things + ": " + parts) << "\n";
}

int ManyRuns::run(const std::vector<ManyRow>& rows,
                  const std::vector<std::pair<std::string, std::string>>& unpaired) {
  // What stands in an answer is the same wherever that is shown.
  if (!_arguments.json) KeepTerminals();
  const auto command = std::ranges::find(Commands(), std::string(_kind.command), KeyOf);
  std::vector<std::function<int()>> runs;
  runs.reserve(rows.size());
  for (const ManyRow& row : rows) {
    runs.emplace_back([&row, &command] { return command->run(row.arguments); });
  }
  const int at_once = _arguments.jobs > 0 ? static_cast<int>(_arguments.jobs)
                                          : static_cast<int>(std::thread::hardware_concurrency());
  {
    Progress progress(std::vector<double>(rows.size(), 1.0));
    RunOwnProcesses(
        runs, std::max(at_once, 1),
        [&](std::size_t count) {
          if (count < rows.size()) progress.begin(std::to_string(count) + " done");
        },
        [&](std::size_t index, const OwnRun& run) {
          progress.hide();
          _add(rows[index], run);
        });
  }
  for (const auto& [name, reason] : unpaired) {
    _status = std::max(_status, kExitFound);
    if (_arguments.json) {
      _answers.push_back({{"name", name},
                          {"status", kExitFound},
                          {"signal", nullptr},
                          {"messages", reason},
                          {"answer", nullptr}});
    } else {
      _addToTable(name, kExitFound, _kind.results[kExitFound], reason);
    }
  }
  if (_arguments.json) {
    Json answer = JsonHeader(_kind.command);
    answer["deliveries"] = _arguments.files;
    answer["runs"] = std::move(_answers);
    PrintJson(answer, std::cout);
  } else {
    _print();
  }
  return _status;
}

bool CheckManyArguments(const Arguments& arguments, std::size_t count) {
  const bool is_whole = arguments.jobs >= 0 && arguments.jobs <= 10000 &&
                        arguments.jobs == static_cast<int>(arguments.jobs);
  if (!is_whole) {
    Complain("--jobs", "expecting a number of processes");
    return false;
  }
  const bool is_count =
      arguments.files.size() == count && std::ranges::all_of(arguments.files, IsDelivery);
  if (!is_count) {
    Complain(arguments.files[0], count == 1 ? "a folder or a table stands alone"
                                            : "a folder or a table is compared with another one");
  }
  return is_count;
}

// One run for each character.
int ManyCharacters(const Arguments& arguments, const ManyKind& kind) {
  if (!CheckManyArguments(arguments, 1)) return kExitTrouble;
  Delivery delivery;
  const bool is_read = ReadDelivery(arguments.files[0], &delivery);
  if (!TellMessages(arguments.files[0], TakeMessages()) || !is_read) return kExitTrouble;
  std::vector<ManyRow> rows;
  rows.reserve(delivery.characters.size());
  for (const DeliveredCharacter& character : delivery.characters) {
    ManyRow& row = rows.emplace_back(ManyRow{character.name, arguments});
    row.arguments.files = {character.model};
    if (!character.dof.empty()) row.arguments.files.push_back(character.dof);
    row.arguments.dof = character.dof;
    row.arguments.scale_factor = character.scale_factor.value_or(arguments.scale_factor);
  }
  const int status = ManyRuns(arguments, kind).run(rows, {});
  if (!arguments.json) std::cout << LonelyText(delivery);
  return status;
}

}  // namespace

int CheckMany(const Arguments& arguments) { return ManyCharacters(arguments, kCheckKind); }

int InfoMany(const Arguments& arguments) { return ManyCharacters(arguments, kInfoKind); }

int DiffMany(const Arguments& arguments) {
  if (!CheckManyArguments(arguments, 2)) return kExitTrouble;
  std::map<std::string, std::array<std::string, 2>> paths;
  for (std::size_t i = 0; i < 2; ++i) {
    std::vector<DeliveredFile> files;
    const bool is_read = ReadDeliveredFiles(arguments.files[i], &files);
    if (!TellMessages(arguments.files[i], TakeMessages()) || !is_read) return kExitTrouble;
    for (const DeliveredFile& file : files) paths[file.name][i] = file.path;
  }
  std::vector<ManyRow> rows;
  std::vector<std::pair<std::string, std::string>> unpaired;
  for (const auto& [name, both] : paths) {
    if (!both[0].empty() && !both[1].empty()) {
      rows.push_back({name, arguments});
      rows.back().arguments.files = {both[0], both[1]};
    } else {
      unpaired.emplace_back(name, "only in '" + arguments.files[both[0].empty() ? 1 : 0] + "'");
    }
  }
  return ManyRuns(arguments, kDiffKind).run(rows, unpaired);
}
