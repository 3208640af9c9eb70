// The legacy reader beside a plain extraction loop over the same bytes: compare the MB/s of one
// run.
#include <benchmark/benchmark.h>

#include <cctype>
#include <fstream>

#include "bamodel.h"
#include "btexcept.h"
#include "meshgenerator.h"

namespace {

constexpr int kPolygons = 100000;

const std::string& Text() {
  static const std::string text = LegacyGrid(kPolygons);
  return text;
}

void SetBytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(Text().size()));
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
  SetBytes(state);
}
BENCHMARK(PlainExtraction)->Unit(benchmark::kMillisecond);

void LegacyReader(benchmark::State& state) {
  const TemporaryFile file(Text());
  for (auto _ : state) {
    BaModel model;
    model.read(file.name());
    if (BtReportError()) state.SkipWithError("the model was refused");
    benchmark::DoNotOptimize(&model);
  }
  SetBytes(state);
}
BENCHMARK(LegacyReader)->Unit(benchmark::kMillisecond);

}  // namespace
