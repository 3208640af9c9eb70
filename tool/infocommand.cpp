// "info": tells what is in files.
#include <iostream>
#include <memory>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "arguments.h"
#include "delivery.h"
#include "fbxfacts.h"
#include "infotext.h"
#include "inputs.h"
#include "json.h"
#include "manyfiles.h"
#include "modelfacts.h"
#include "motionfiles.h"
#include "style.h"

namespace {

// What came of one file: its facts as JSON and text, or an error.
class FileReport {
 public:
  FileReport(const Arguments& arguments, const BaUnlockedMapping* mapping)
      : _arguments(arguments), _mapping(mapping) {}

  // False when the file cannot be read.
  bool make(const std::string& file, Json* json);

 private:
  void _makeModel(const std::string& file, Json* facts);
  void _makeMapping(const std::string& file, Json* facts);
  void _makeFbx(const std::string& file, Json* facts);
  // Prints the facts as text, or answers them as JSON.
  template <class Print>
  void _show(const std::string& file, Print print);

  const Arguments& _arguments;
  const BaUnlockedMapping* _mapping;
  std::vector<Message> _messages;
};

template <class Print>
void FileReport::_show(const std::string& file, Print print) {
  if (_arguments.json || HasError(_messages)) return;
  if (!_arguments.tree || _arguments.files.size() > 1) {
    std::cout << Styled(Style::Title, file) << "\n";
  }
  print();
  if (!_arguments.tree) std::cout << "\n";
}

void FileReport::_makeModel(const std::string& file, Json* facts) {
  BaModel model;
  _messages = ReadModel(file, &model);
  if (HasError(_messages)) return;
  const ModelFacts gathered = GatherModelFacts(file, model, _mapping);
  _show(file, [&] { PrintText(gathered, _arguments.tree, _arguments.scale_factor, std::cout); });
  if (_arguments.json) *facts = ToJson(gathered);
}

void FileReport::_makeMapping(const std::string& file, Json* facts) {
  BaUnlockedMapping mapping;
  _messages = ReadMapping(file, &mapping);
  if (HasError(_messages)) return;
  _show(file, [&] { PrintText(mapping, std::cout); });
  if (_arguments.json) *facts = ToJson(mapping);
}

void FileReport::_makeFbx(const std::string& file, Json* facts) {
  FbxFacts gathered;
  const bool read = ReadFbxFacts(file, &gathered);
  _messages = TakeMessages();
  if (!read) return;
  _show(file, [&] { PrintText(gathered, _arguments.tree, std::cout); });
  if (_arguments.json) *facts = ToJson(gathered);
}

bool FileReport::make(const std::string& file, Json* json) {
  const FileKind kind = KindOf(file);
  Json facts;
  if (kind == FileKind::Mapping) {
    _makeMapping(file, &facts);
  } else if (kind == FileKind::Fbx) {
    _makeFbx(file, &facts);
  } else {
    _makeModel(file, &facts);  // its reader says best what is wrong with other files
  }
  const bool good = !HasError(_messages);
  *json = {{"file", file},
           {"kind", KindName(kind)},
           {"error", good ? Json(nullptr) : Json(ErrorText(_messages))},
           {"where", good ? Json(nullptr) : ToJson(ErrorOf(_messages)->where)},
           {"warnings", ToJson(_messages)}};
  if (good) (*json)[KindName(kind)] = std::move(facts);
  if (_arguments.json) return good;
  PrintWarnings(file, _messages);
  if (!good) {
    std::cout.flush();
    PrintError(file, _messages);
  }
  return good;
}

}  // namespace

int RunInfo(const Arguments& arguments) {
  if (!CheckPositive("--scale-factor", static_cast<float>(arguments.scale_factor))) {
    return kExitTrouble;
  }
  if (arguments.files.size() == 1 && IsDelivery(arguments.files[0])) return InfoMany(arguments);
  int status = kExitGood;
  Json answer = JsonHeader("info");
  answer["dof"] = nullptr;
  std::unique_ptr<BaUnlockedMapping> mapping;
  if (!arguments.dof.empty()) {
    mapping = std::make_unique<BaUnlockedMapping>();
    const std::vector<Message> messages = ReadMapping(arguments.dof, mapping.get());
    const std::string error = ErrorText(messages);
    answer["dof"] = {{"file", arguments.dof},
                     {"error", error.empty() ? Json(nullptr) : Json(error)}};
    PrintWarnings(arguments.dof, messages);
    if (!error.empty()) {
      PrintError(arguments.dof, messages);
      mapping.reset();
      status = kExitTrouble;
    }
  }
  answer["files"] = Json::array();
  for (const std::string& file : arguments.files) {
    Json report;
    if (!FileReport(arguments, mapping.get()).make(file, &report)) status = kExitTrouble;
    answer["files"].push_back(std::move(report));
  }
  if (arguments.json) PrintJson(answer, std::cout);
  return status;
}
