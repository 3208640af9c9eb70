// Measures whole conversions against yardsticks of the same machine and prints one table.
//   kestrix_compare <kestrix> [<polygons>] [--no-verdict]
// The exit status is 1 where a limit is missed, unless there is to be no verdict.
#include <sys/stat.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Ba/bamodel.h"
#include "Bt/btexcept.h"
#include "meshgenerator.h"
#include "process.h"
#include "yardsticks.h"

namespace {

using Command = std::vector<std::string>;

// A folder that goes with the program.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "kestrix_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::exit(EXIT_FAILURE);
    _path = name;
  }
  ~TemporaryFolder() { std::filesystem::remove_all(_path); }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  [[nodiscard]] std::string file(const std::string& name) const { return _path / name; }

 private:
  std::filesystem::path _path;
};

class Comparison {
 public:
  Comparison(std::string kestrix, int polygons) : _kestrix(std::move(kestrix)) {
    _size.polygons = polygons;
  }

  // False when a limit was missed.
  bool run() {
    std::printf("| measured | value | at most | aim |\n|---|---|---|---|\n");
    _writeMeshes();
    _compareLegacy();
    _compareDocument();
    _compareSize();
    _compareGrowth();
    _compareBodies();
    _compareSmall();
    _compareBlender();
    return _good;
  }

 private:
  static constexpr int kRounds = 9;
  static constexpr int kGrowthRounds = 7;
  static constexpr int kSlowRounds = 3;

  void _row(const std::string& what, double value, double limit, double aim,
            const char* unit = "") {
    const bool missed = value > limit;
    std::printf("| %s | %.3g%s | %.3g%s | %.3g%s |%s\n", what.c_str(), value, unit, limit, unit,
                aim, unit, missed ? " missed" : "");
    std::fflush(stdout);
    _good = _good && !missed;
  }
  void _note(const char* what, double seconds) {
    std::printf("| %s | %.3f s | | |\n", what, seconds);
  }

  // Files are written by a process of its own: what it needs is nobody's peak.
  void _write(const std::string& name, MeshForm form, const MeshSize& size) {
    RunFunction([&] {
      std::ofstream os(_folder.file(name), std::ios::binary);
      WriteMesh(os, form, size);
      std::ofstream dof(_folder.file(name + ".dof"), std::ios::binary);
      WriteMapping(dof, size);
      for (int i = 0; size.textured && i < size.materials; ++i) {
        std::ofstream(_folder.file(PictureName(i))) << "picture " << i;
      }
      return os.good() && dof.good();
    });
  }
  void _writeMeshes() {
    _write("legacy.mdl", MeshForm::Legacy, _size);
    _write("document.mdl", MeshForm::Document, _size);
  }

  [[nodiscard]] Command _conversion(const std::string& model, const Command& options = {}) const {
    Command command = {_kestrix};
    command.insert(command.end(), options.begin(), options.end());
    for (const char* suffix : {"", ".dof", ".fbx"}) command.push_back(_folder.file(model + suffix));
    return command;
  }
  [[nodiscard]] double _bytes(const std::string& name) const {
    return static_cast<double>(std::filesystem::file_size(_folder.file(name)));
  }

  void _compareLegacy() {
    const std::string file = _folder.file("legacy.mdl");
    const auto costs =
        Medians(kRounds, {[&] { return RunFunction([&] { return FromCharsLoop(file); }); },
                          [&] { return RunProgram(_conversion("legacy.mdl")); },
                          [&] {
                            return RunProgram(_conversion("legacy.mdl", {"-mb_version", "2010"}));
                          },
                          [&] {
                            return RunFunction([&] {
                              BaModel model;
                              model.read(file.c_str());
                              return !BtReportError();
                            });
                          }});
    const auto slow =
        Medians(kSlowRounds, {[&] { return RunFunction([&] { return ExtractionLoop(file); }); }});
    const double loop = costs[0].cpu;
    _note("from_chars over the legacy file", loop);
    _note("extraction of the same numbers from a stream", slow[0].cpu);
    _note("legacy file converted to 7.1", costs[1].cpu);
    _note("legacy file read", costs[3].cpu);
    _row("legacy converted / from_chars", costs[1].cpu / loop, 2.3, 1.9);
    _row("legacy read / from_chars", costs[3].cpu / loop, 0.9, 0.7);
    _row("legacy read / extraction from a stream", costs[3].cpu / slow[0].cpu, 1 / 8.0, 1 / 16.0);
    _row("converted to 6.1 / to 7.1", costs[2].cpu / costs[1].cpu, 1.2, 0.8);
    _row("peak memory / legacy bytes", costs[1].peak / _bytes("legacy.mdl"), 1.5, 1.2);
    _conversion_cpu = costs[1].cpu;
  }

  void _compareDocument() {
    const std::string file = _folder.file("document.mdl");
    const auto costs =
        Medians(kRounds, {[&] { return RunFunction([&] { return FromCharsLoop(file); }); },
                          [&] { return RunProgram(_conversion("document.mdl")); }});
    _note("from_chars over the document", costs[0].cpu);
    _note("document converted to 7.1", costs[1].cpu);
    _row("document converted / from_chars", costs[1].cpu / costs[0].cpu, 4.0, 3.2);
    _row("peak memory / document bytes", costs[1].peak / _bytes("document.mdl"), 2.8, 2.2);
  }

  void _compareSize() {
    RunProgram(_conversion("legacy.mdl"));
    const double with_zlib = SizeWithZlib(_folder.file("legacy.mdl.fbx"));
    _row("bytes of the 7.1 file / with zlib at level 6", _bytes("legacy.mdl.fbx") / with_zlib, 1.15,
         1.1);
  }

  // CPU at twice the size, from a quarter of the mesh to half of it and on to all of it.
  void _compareGrowth() {
    const int n = _size.polygons / 4;
    const int few = n / 25;
    const struct {
      const char* what;
      MeshSize size;
      int MeshSize::*grows;
    } kinds[] = {
        {"polygons", {.polygons = n, .textured = false}, &MeshSize::polygons},
        {"bodies", {.polygons = 10, .bodies = few, .textured = false}, &MeshSize::bodies},
        {"materials", {.polygons = n, .materials = few, .textured = false}, &MeshSize::materials},
        {"textures", {.polygons = n, .materials = few}, &MeshSize::materials},
    };
    for (const auto& kind : kinds) {
      std::vector<std::function<Cost()>> jobs;
      MeshSize size = kind.size;
      for (const char* name : {"n.mdl", "2n.mdl"}) {
        if (kind.grows == &MeshSize::bodies) size.polygons = 10 * size.bodies;
        if (kind.grows == &MeshSize::materials) size.polygons = 10 * size.materials;
        _write(name, MeshForm::Legacy, size);
        jobs.emplace_back([this, name] { return RunProgram(_conversion(name)); });
        size.*kind.grows *= 2;
      }
      const auto costs = Medians(kGrowthRounds, jobs);
      _row(std::string("CPU at twice the ") + kind.what, costs[1].cpu / costs[0].cpu, 2.2, 2.05);
    }
  }

  // CPU for a body among a million and among ten thousand, each with four polygons. A virtual
  // machine may have to get the memory from its host first, which can cost as much as the
  // conversion and differs from one minute to the next: so both sizes take turns, the small one
  // with some runs in each, and the program's own time stands by itself.
  void _compareBodies() {
    constexpr int kFew = 10000;
    constexpr int kMany = 1000000;
    constexpr int kRunsOfFew = 5;
    for (const auto& [name, bodies] : {std::pair("few.mdl", kFew), std::pair("many.mdl", kMany)}) {
      _write(name, MeshForm::Legacy, {.polygons = bodies, .bodies = bodies, .textured = false});
    }
    const auto convert_few = [&] { return RunProgram(_conversion("few.mdl")); };
    const auto costs = Medians(kSlowRounds, {[&] { return Medians(kRunsOfFew, {convert_few})[0]; },
                                             [&] { return RunProgram(_conversion("many.mdl")); }});
    constexpr double kGrowth = double{kMany} / kFew;
    _row("CPU for a body of 1,000,000 / of 10,000", costs[1].cpu / costs[0].cpu / kGrowth, 1.5,
         1.2);
    std::printf("| the same of user time alone | %.3g | | |\n",
                costs[1].user / costs[0].user / kGrowth);
    for (const char* suffix : {"", ".dof", ".fbx"}) {
      std::filesystem::remove(_folder.file(std::string("many.mdl") + suffix));
    }
  }

  void _compareSmall() {
    constexpr int kPolygonsOf100Kilobytes = 550;
    constexpr int kManyRounds = 51;
    _write("small.mdl", MeshForm::Legacy, {.polygons = kPolygonsOf100Kilobytes});
    const auto costs = Medians(kManyRounds, {[&] { return RunProgram({"true"}); },
                                             [&] { return RunProgram(_conversion("small.mdl")); }});
    _row("CPU for a character of 100 kB beyond that of an empty process",
         1000.0 * (costs[1].cpu - costs[0].cpu), 4, 2, " ms");
  }

  void _compareBlender() {
    if (std::system("command -v blender >/dev/null") != 0) {
      std::printf("| converted / Blender's OBJ import and FBX export | not installed | | |\n");
      return;
    }
    _write("mesh.obj", MeshForm::Obj, _size);
    const Cost blender = RunProgram(
        {"blender", "-b", "--factory-startup", "--python-exit-code", "1", "--python-expr",
         "import bpy; bpy.ops.wm.read_factory_settings(use_empty=True); "
         "bpy.ops.wm.obj_import(filepath='" +
             _folder.file("mesh.obj") +
             "'); "
             "bpy.ops.preferences.addon_enable(module='io_scene_fbx'); "
             "bpy.ops.export_scene.fbx(filepath='" +
             _folder.file("mesh.fbx") + "')"});
    _note("Blender's OBJ import and FBX export", blender.cpu);
    _row("converted / Blender's OBJ import and FBX export", _conversion_cpu / blender.cpu, 1 / 15.0,
         1 / 20.0);
  }

  TemporaryFolder _folder;
  std::string _kestrix;
  MeshSize _size;
  double _conversion_cpu = 0;
  bool _good = true;
};

}  // namespace

int main(int argc, char** argv) {
  std::string kestrix;
  int polygons = MeshSize().polygons;
  bool verdict = true;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--no-verdict") {
      verdict = false;
    } else if (kestrix.empty()) {
      kestrix = argument;
    } else {
      polygons = static_cast<int>(std::strtol(argv[i], nullptr, 10));
    }
  }
  if (kestrix.empty() || polygons < 1000) {
    std::fprintf(stderr,
                 "usage: kestrix_compare <kestrix> [<polygons, 1000 at least>] "
                 "[--no-verdict]\n");
    return 2;
  }
  const bool good = Comparison(kestrix, polygons).run();
  return good || !verdict ? EXIT_SUCCESS : EXIT_FAILURE;
}
