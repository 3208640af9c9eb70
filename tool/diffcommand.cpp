// "diff": tells what differs between two models, two mappings or two FBX files.
#include <algorithm>
#include <cmath>
#include <iostream>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "arguments.h"
#include "delivery.h"
#include "differences.h"
#include "fbxfacts.h"
#include "inputs.h"
#include "json.h"
#include "manyfiles.h"
#include "style.h"

namespace {

// The two files that are compared, and what came of it.
class Comparison {
 public:
  explicit Comparison(const Arguments& arguments) : _arguments(arguments) {}
  int run();

 private:
  void _compare();
  // True when both could be read; otherwise the error is kept.
  bool _good(const std::vector<Message>& a, const std::vector<Message>& b);
  [[nodiscard]] Json _toJson() const;
  void _print() const;

  const Arguments& _arguments;
  FileKind _kind = FileKind::Unknown;
  std::string _error;
  std::vector<Difference> _differences;
};

std::vector<Message> ReadFbxFile(const std::string& file, FbxContents* contents) {
  if (ReadFbxContents(file, contents)) (void)CheckFbxLists(*contents);
  return TakeMessages();
}

bool Comparison::_good(const std::vector<Message>& a, const std::vector<Message>& b) {
  const std::vector<Message>* messages[] = {&a, &b};
  for (std::size_t i = 0; i < 2; ++i) {
    const std::string& file = _arguments.files[i];
    if (!_arguments.json) PrintWarnings(file, *messages[i]);
    if (!HasError(*messages[i])) continue;
    const std::string error = ErrorText(*messages[i]);
    if (!_arguments.json) PrintError(file, *messages[i]);
    if (!_error.empty()) _error += ' ';
    _error.append(file).append(": ").append(error);
  }
  return _error.empty();
}

void Comparison::_compare() {
  const std::vector<std::string>& files = _arguments.files;
  _kind = KindOf(files[0]);
  if (_kind == FileKind::Mapping) {
    BaUnlockedMapping a;
    BaUnlockedMapping b;
    const std::vector<Message> messages = ReadMapping(files[0], &a);
    if (_good(messages, ReadMapping(files[1], &b))) {
      _differences = DiffMappings(a, b, _arguments.tolerance);
    }
    return;
  }
  if (_kind == FileKind::Fbx) {
    FbxContents a;
    FbxContents b;
    const std::vector<Message> messages = ReadFbxFile(files[0], &a);
    if (_good(messages, ReadFbxFile(files[1], &b))) {
      _differences = DiffFbx(a, b, _arguments.tolerance);
    }
    return;
  }
  _kind = FileKind::Model;
  BaModel a;
  BaModel b;
  const std::vector<Message> messages = ReadModel(files[0], &a);
  if (_good(messages, ReadModel(files[1], &b))) {
    _differences = DiffModels({a, files[0]}, {b, files[1]}, _arguments.tolerance);
  }
}

Json Comparison::_toJson() const {
  Json answer = JsonHeader("diff");
  answer["kind"] = KindName(_kind);
  answer["a"] = _arguments.files[0];
  answer["b"] = _arguments.files[1];
  answer["tolerance"] = _arguments.tolerance;
  answer["error"] = _error.empty() ? Json(nullptr) : Json(_error);
  answer["same"] = _error.empty() && _differences.empty();
  answer["differences"] = Json::array();
  for (const Difference& difference : _differences) {
    answer["differences"].push_back(
        {{"code", difference.code},
         {"place", {{"kind", difference.kind}, {"name", difference.name}}},
         {"a", difference.a.empty() ? Json(nullptr) : Json(difference.a)},
         {"b", difference.b.empty() ? Json(nullptr) : Json(difference.b)}});
  }
  return answer;
}

void Comparison::_print() const {
  for (const Difference& difference : _differences) {
    std::cout << Styled(Style::Warning, difference.code) << ": "
              << Printable(difference.kind + " " + difference.name);
    const bool is_one = difference.a.empty() || difference.b.empty();
    const std::string text =
        is_one ? difference.a + difference.b : difference.a + " -> " + difference.b;
    if (text != kThere) std::cout << ": " << Printable(text);
    std::cout << "\n";
  }
  const std::string summary =
      _differences.empty()
          ? "no differences"
          : Counted(static_cast<long long>(_differences.size()), "difference", "differences");
  std::cout << Styled(_differences.empty() ? Style::Good : Style::Warning, summary) << "\n";
}

int Comparison::run() {
  if (!(_arguments.tolerance >= 0) || !std::isfinite(_arguments.tolerance)) {
    std::cerr << "kestrix-tool: the tolerance must not be negative\n";
    return kExitTrouble;
  }
  _compare();
  if (_arguments.json) {
    PrintJson(_toJson(), std::cout);
  } else if (_error.empty()) {
    _print();
  }
  if (!_error.empty()) return kExitTrouble;
  return _differences.empty() ? kExitGood : kExitFound;
}

}  // namespace

int RunDiff(const Arguments& arguments) {
  if (std::ranges::any_of(arguments.files, IsDelivery)) return DiffMany(arguments);
  return Comparison(arguments).run();
}
