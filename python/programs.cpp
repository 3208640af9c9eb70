// What the programs do: the converter, and all commands of kestrix-tool.
#include <pybind11/stl.h>

#include <iostream>
#include <set>
#include <sstream>
#include <string>

#include "Ba/bamapping.h"
#include "Bt/btexcept.h"
#include "arguments.h"
#include "conversion.h"
#include "messages.h"
#include "objects.h"
#include "options.h"

namespace {

// Keeps what a conversion has to say instead of printing it.
class Listener : public ConversionListener {
 public:
  bool onStep(const BtStr& /*line*/) override { return true; }

  void onRecords() override {
    std::vector<Told> more = TakeTold();
    const bool is_error = !more.empty() && more.front().is_error;
    std::vector<Told>& all = is_error ? errors : warnings;
    all.insert(all.end(), std::make_move_iterator(more.begin()),
               std::make_move_iterator(more.end()));
  }

  bool onMapping(const BaUnlockedMapping& mapping) override {
    for (const BaUnlockedBodyMap* map : mapping.bodyMaps()) {
      const std::string letters = map->rotationLetters();
      if (letters.size() == 3 && std::set<char>(letters.begin(), letters.end()).size() == 3) {
        continue;
      }
      BtFail(BtCode("rotation-axes"), "Body %d does not turn about each axis once.", map->bodyId());
      onRecords();
      return false;
    }
    return true;
  }

  std::vector<Told> warnings;
  std::vector<Told> errors;
};

// What the program prints while it runs: its warnings, and the error if there is one.
py::list ConvertFiles(const py::object& model, const py::object& dof, const py::object& fbx,
                      double scale_factor, bool mesh_per_body, const std::string& mb_version) {
  Settings settings;
  settings.model_file = FileName(model).c_str();
  settings.dof_file = FileName(dof).c_str();
  settings.fbx_file = FileName(fbx).c_str();
  settings.scale_factor = static_cast<float>(scale_factor);
  if (!(settings.scale_factor > 0) || !std::isfinite(settings.scale_factor)) {
    throw py::value_error("Invalid value for scale_factor.");
  }
  settings.mesh_per_body = mesh_per_body;
  settings.mb_version = mb_version.c_str();
  const auto listener = std::make_shared<Listener>();
  Run([=] { Convert(settings, listener.get()); });
  std::vector<Told> told = std::move(listener->warnings);
  std::move(listener->errors.begin(), listener->errors.end(), std::back_inserter(told));
  return ToPython(told);
}

// What a command of kestrix-tool complained of.
std::vector<Told>* complaints = nullptr;

void Hear(const std::string& file, const Message& message) {
  Where where = message.where;
  if (where.file.empty()) where.file = file;
  complaints->push_back({message.is_error, message.text,
                         message.code == nullptr ? "" : message.code, where, message.count});
}

// Keeps complaints while it lives.
class Hearing {
 public:
  explicit Hearing(std::vector<Told>* told) {
    complaints = told;
    SetComplaintListener(Hear);
  }
  ~Hearing() { SetComplaintListener(nullptr); }
  Hearing(const Hearing&) = delete;
  Hearing& operator=(const Hearing&) = delete;
};

// Takes what is written to a stream while it lives.
class Taken {
 public:
  explicit Taken(std::ostream* os) : _os(os), _old(os->rdbuf(_text.rdbuf())) {}
  ~Taken() {
    _os->rdbuf(_old);
    _os->clear();
  }
  Taken(const Taken&) = delete;
  Taken& operator=(const Taken&) = delete;
  [[nodiscard]] std::string text() const { return _text.str(); }

 private:
  std::ostream* _os;
  std::ostringstream _text;
  std::streambuf* _old;
};

// A run of a command of kestrix-tool: what it is given, what it printed and complained of.
struct ToolRun {
  std::vector<std::string> arguments = {"kestrix-tool"};
  int status = kExitTrouble;
  std::string printed;
  std::vector<Told> told;

  void run() {
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    const Hearing hearing(&told);
    const Taken out(&std::cout);
    const Taken err(&std::cerr);
    status = RunCommandLine(static_cast<int>(argv.size()), argv.data());
    printed = out.text();
    // What is wrong with the options is printed only.
    std::string text = err.text();
    while (text.ends_with('\n')) text.pop_back();
    if (told.empty() && status != kExitGood && !text.empty()) told.push_back({true, text, ""});
  }
};

// Answers the exit status of a command, what it printed and its complaints.
py::tuple RunTool(const std::vector<py::bytes>& arguments) {
  const auto tool = std::make_shared<ToolRun>();
  for (const py::bytes& argument : arguments) tool->arguments.push_back(argument);
  Run([=] { tool->run(); });
  return py::make_tuple(tool->status, py::bytes(tool->printed), ToPython(tool->told));
}

}  // namespace

void BindPrograms(py::module_& module) {
  module.def("_convert", ConvertFiles);
  module.def("_run_tool", RunTool);
}
