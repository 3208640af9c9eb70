// The legacy reader beside a plain extraction loop over the same bytes: compare the MB/s of one
// run.
#include <benchmark/benchmark.h>

#include <cctype>
#include <fstream>

#include "bamodel.h"
#include "bamodeldata.h"
#include "btexcept.h"
#include "meshgenerator.h"

namespace {

constexpr int kPolygons = 100000;

const std::string& Text() {
  static const std::string text = LegacyGrid(kPolygons);
  return text;
}

// The same mesh as a document.
const std::string& DocumentText() {
  static const std::string text = DocumentOf(Text());
  return text;
}

void SetBytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// Every number of the file through `>>`, whatever record it belongs to.
void PlainExtraction(benchmark::State& state) {
  const TemporaryFile file(Text());
  for (auto _ : state) {
    std::ifstream is(file.name());
    double number = 0;
    double sum = 0;
    while (!is.eof()) {
      if (is >> number) {
        sum += number;
      } else {
        is.clear(is.rdstate() & ~std::ios::failbit);
        is.ignore();
      }
    }
    benchmark::DoNotOptimize(sum);
  }
  SetBytes(state, Text());
}
BENCHMARK(PlainExtraction)->Unit(benchmark::kMillisecond);

template <class Model>
void Read(benchmark::State& state, const std::string& text) {
  const TemporaryFile file(text);
  for (auto _ : state) {
    Model model;
    model.read(file.name());
    if (BtReportError()) state.SkipWithError("the file was refused");
    benchmark::DoNotOptimize(&model);
  }
  SetBytes(state, text);
}

void LegacyReader(benchmark::State& state) { Read<BaModel>(state, Text()); }
BENCHMARK(LegacyReader)->Unit(benchmark::kMillisecond);

void DocumentReader(benchmark::State& state) { Read<BaModelData>(state, DocumentText()); }
BENCHMARK(DocumentReader)->Unit(benchmark::kMillisecond);

// What the converter does with a document: reading and taking it over into a model.
void DocumentIntoModel(benchmark::State& state) { Read<BaModel>(state, DocumentText()); }
BENCHMARK(DocumentIntoModel)->Unit(benchmark::kMillisecond);

}  // namespace
