// "deps": lists the files that a conversion reads, for programs that build what has changed.
#include <algorithm>
#include <filesystem>
#include <iostream>
#include <set>
#include <string>
#include <vector>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Bt/btfile.h"
#include "arguments.h"
#include "bapicturefile.h"
#include "inputs.h"
#include "json.h"

namespace {

struct ReadFile {
  std::string file;  // as the conversion opens it
  const char* kind;  // "model", "mapping", "included" or "picture"
};

// What a conversion of the files on the command line reads.
class ReadFiles {
 public:
  void addModel(const std::string& file);
  void addMapping(const std::string& file);

  [[nodiscard]] const std::vector<ReadFile>& list() const { return _list; }
  // The names of pictures that are not there.
  [[nodiscard]] const std::vector<std::string>& missing() const { return _missing; }
  // The errors, with the files that they are about.
  [[nodiscard]] const std::vector<std::pair<std::string, std::vector<Message>>>& errors() const {
    return _errors;
  }

 private:
  void _add(std::string_view file, const char* kind);
  void _addText(const std::string& file, const char* kind, const std::vector<BtStr>& files,
                std::vector<Message> messages);
  void _addPictures(const std::string& model_file, const BaModel& model);

  std::vector<ReadFile> _list;
  std::vector<std::string> _missing;
  std::set<std::string, std::less<>> _known;
  std::vector<std::pair<std::string, std::vector<Message>>> _errors;
};

void ReadFiles::_add(std::string_view file, const char* kind) {
  while (file.starts_with("./")) file.remove_prefix(2);
  std::error_code ignored;
  if (std::filesystem::is_directory(file, ignored)) return;
  if (_known.emplace(file).second) _list.push_back({std::string(file), kind});
}

// A model or a mapping, and what it includes. Where the reading failed, these are the files that
// were read until then: whoever mends one of them wants to have the conversion tried again.
void ReadFiles::_addText(const std::string& file, const char* kind, const std::vector<BtStr>& files,
                         std::vector<Message> messages) {
  if (BtFileId id = {}; BtFileFindId(file.c_str(), &id)) _add(file, kind);
  for (const BtStr& name : files) _add(name.view(), "included");
  if (HasError(messages)) _errors.emplace_back(file, std::move(messages));
}

void ReadFiles::addModel(const std::string& file) {
  BaModel model;
  std::vector<Message> messages = ReadModel(file, &model);
  const bool is_read = !HasError(messages);
  _addText(file, "model", model.sourceFiles(), std::move(messages));
  if (!is_read) return;
  // The pictures of what a conversion drops are not looked at.
  model.removeBones();
  model.removeUnusedMaterials(false);
  _addPictures(file, model);
}

void ReadFiles::addMapping(const std::string& file) {
  BaUnlockedMapping mapping;
  std::vector<Message> messages = ReadMapping(file, &mapping);
  _addText(file, "mapping", mapping.sourceFiles(), std::move(messages));
}

void ReadFiles::_addPictures(const std::string& model_file, const BaModel& model) {
  const BtStr directory = BtFileDirectory(model_file.c_str());
  for (const auto& material : model.materials()) {
    for (const BaTexture& texture : material->textures()) {
      if (texture.fileName().isNull()) continue;
      const BtStr path = BaFindPicture(directory, texture.fileName());
      if (!path.isNull()) {
        _add(path.view(), "picture");
      } else if (std::ranges::find(_missing, Text(texture.fileName())) == _missing.end()) {
        _missing.push_back(Text(texture.fileName()));
      }
    }
  }
}

// A name as make and ninja take it; empty for one that they cannot.
std::string MakeName(std::string_view name) {
  std::string escaped;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    if (c == '\n' || c == '\r' || c == '\t') return {};
    if (c == '$') escaped += '$';
    if (c == ' ' || c == '#' || c == ':') {
      // Backslashes in front of it would escape each other.
      for (std::size_t k = i; k > 0 && name[k - 1] == '\\'; --k) escaped += '\\';
      escaped += '\\';
    }
    escaped += c;
  }
  return escaped;
}

// Prints a rule without a recipe. Files have empty rules of their own: make goes on, and builds the
// target, where one is gone.
bool PrintDepfile(const std::string& target, const std::vector<ReadFile>& files) {
  std::string rule = MakeName(target);
  std::string rest;
  const std::string* bad = rule.empty() ? &target : nullptr;
  rule += ":";
  for (const ReadFile& file : files) {
    const std::string name = MakeName(file.file);
    if (name.empty()) bad = &file.file;
    rule += " \\\n  " + name;
    rest += name + ":\n";
  }
  if (bad != nullptr) {
    Complain(*bad, "The name cannot stand in a depfile.");
    return false;
  }
  std::cout << rule << "\n" << rest;
  return true;
}

Json DepsJson(const Arguments& arguments, const ReadFiles& files) {
  Json answer = JsonHeader("deps");
  answer["model"] = arguments.files[0];
  answer["mapping"] = arguments.files.size() > 1 ? Json(arguments.files[1]) : Json(nullptr);
  answer["files"] = Json::array();
  for (const auto& [file, kind] : files.list()) {
    answer["files"].push_back({{"file", file}, {"kind", kind}});
  }
  answer["missing"] = files.missing();
  answer["errors"] = Json::array();
  for (const auto& [file, messages] : files.errors()) {
    answer["errors"].push_back({{"file", file},
                                {"error", ErrorText(messages)},
                                {"where", ToJson(ErrorOf(messages)->where)}});
  }
  return answer;
}

}  // namespace

int RunDeps(const Arguments& arguments) {
  if (arguments.json && !arguments.depfile.empty()) {
    Complain("deps", "--json and --depfile exclude each other");
    return kExitTrouble;
  }
  ReadFiles files;
  files.addModel(arguments.files[0]);
  if (arguments.files.size() > 1) files.addMapping(arguments.files[1]);
  bool good = files.errors().empty();
  if (arguments.json) {
    PrintJson(DepsJson(arguments, files), std::cout);
    return good ? kExitGood : kExitTrouble;
  }
  if (!arguments.depfile.empty()) {
    good = PrintDepfile(arguments.depfile, files.list()) && good;
  } else {
    for (const ReadFile& file : files.list()) std::cout << file.file << "\n";
  }
  std::cout.flush();
  for (const std::string& name : files.missing()) {
    Complain(arguments.files[0], "warning: the picture '" + name + "' is not there");
  }
  for (const auto& [file, messages] : files.errors()) PrintError(file, messages);
  return good ? kExitGood : kExitTrouble;
}
