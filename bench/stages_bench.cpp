// One stage of a conversion after the other, and what reading is measured against. Compare the MB/s
// of one run: all count the bytes of the legacy text, or of the document where that is read.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "Ba/bamapping.h"
#include "Ba/bamodel.h"
#include "Ba/bamodeldata.h"
#include "Bt/btexcept.h"
#include "Fbx/kfbxscene.h"
#include "Fbx/kfbxsdkmanager.h"
#include "meshgenerator.h"
#include "save.h"
#include "scene.h"
#include "yardsticks.h"

namespace {

constexpr MeshSize kSize = {.polygons = 100000, .textured = false};

// A file of the mesh that is removed again with the object.
class MeshFile {
 public:
  explicit MeshFile(MeshForm form)
      : _name(std::filesystem::temp_directory_path() / "kestrix_bench_XXXXXX") {
    const int fd = mkstemp(_name.data());
    if (fd < 0) std::abort();
    close(fd);
    std::ofstream os(_name, std::ios::binary);
    WriteMesh(os, form, kSize);
  }
  ~MeshFile() { std::filesystem::remove(_name); }
  MeshFile(const MeshFile&) = delete;
  MeshFile& operator=(const MeshFile&) = delete;
  [[nodiscard]] const std::string& name() const { return _name; }

 private:
  std::string _name;
};

const std::string& FileName(MeshForm form) {
  static const MeshFile legacy(MeshForm::Legacy);
  static const MeshFile document(MeshForm::Document);
  return (form == MeshForm::Legacy ? legacy : document).name();
}

void CountBytes(benchmark::State& state, MeshForm form = MeshForm::Legacy) {
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(std::filesystem::file_size(FileName(form))));
  if (BtReportError()) state.SkipWithError("the stage failed");
}

void RunYardstick(benchmark::State& state, bool (*loop)(const std::string&), MeshForm form) {
  while (state.KeepRunning()) {
    if (!loop(FileName(form))) state.SkipWithError("the file was refused");
  }
  CountBytes(state, form);
}
BENCHMARK_CAPTURE(RunYardstick, extraction_legacy, ExtractionLoop, MeshForm::Legacy);
BENCHMARK_CAPTURE(RunYardstick, from_chars_legacy, FromCharsLoop, MeshForm::Legacy);
BENCHMARK_CAPTURE(RunYardstick, from_chars_document, FromCharsLoop, MeshForm::Document);

template <class Model>
void Read(benchmark::State& state, MeshForm form) {
  while (state.KeepRunning()) {
    Model model;
    model.read(FileName(form).c_str());
    benchmark::DoNotOptimize(&model);
  }
  CountBytes(state, form);
}
constexpr auto kReadModel = Read<BaModel>;
constexpr auto kReadDocument = Read<BaModelData>;
BENCHMARK_CAPTURE(kReadModel, legacy, MeshForm::Legacy);
BENCHMARK_CAPTURE(kReadDocument, document, MeshForm::Document);
// What the converter does with a document: reading and taking it over into a model.
BENCHMARK_CAPTURE(kReadModel, document, MeshForm::Document);

// The model as a document: welding.
void Fill(benchmark::State& state) {
  BaModel model;
  model.read(FileName(MeshForm::Legacy).c_str());
  while (state.KeepRunning()) {
    BaModelData model_data;
    model_data.fillFrom(model, true);
  }
  CountBytes(state);
}
BENCHMARK(Fill);

// The scene of the legacy model.
class Scene {
 public:
  Scene() {
    InitializeSdk(&_manager, &_scene);
    BaModel model;
    model.read(FileName(MeshForm::Legacy).c_str());
    _model_data.fillFrom(model, true);
  }
  ~Scene() { DestroySdk(_manager); }
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  void create() {
    const BaUnlockedMapping mapping;
    CreateScene(_manager, _scene, _model_data, "legacy.mdl", mapping, 2.54F, false);
  }
  void save(const char* mb_version) {
    const WriterChoice writer = FindMotionBuilderWriter(_manager, mb_version, false);
    SaveScene(_manager, _scene, "/dev/null", false, true, writer.version);
  }

 private:
  KFbxSdkManager* _manager = nullptr;
  KFbxScene* _scene = nullptr;
  BaModelData _model_data;
};

void CreateScenes(benchmark::State& state) {
  while (state.KeepRunning()) {
    state.PauseTiming();
    auto scene = std::make_unique<Scene>();
    state.ResumeTiming();
    scene->create();
    state.PauseTiming();
    scene.reset();
    state.ResumeTiming();
  }
  CountBytes(state);
}
BENCHMARK(CreateScenes);

void Save(benchmark::State& state, const char* mb_version) {
  Scene scene;
  scene.create();
  while (state.KeepRunning()) scene.save(mb_version);
  CountBytes(state);
}
BENCHMARK_CAPTURE(Save, family_71, "2011");
BENCHMARK_CAPTURE(Save, family_61, "2010");

}  // namespace
