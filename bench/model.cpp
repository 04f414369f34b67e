// WriteModelData of a model with 1 million vertices and 2 million triangles into a memory filer,
// against memcpy of the same bytes into a fresh buffer, in the same run.
// Target: throughput at least half of memcpy's.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>

#include "bench/bench_util.h"
#include "persist/Model.h"
#include "persist/RDDwgFiler.h"

namespace {

using kwbench::Clock;
using kwbench::Seconds;

void write_model(benchmark::State& state) {
  KWModel3DView::DataModel model;
  model.name = L"bench";
  KWModel3DView::DataBatch& batch = model.batches.emplace_back();
  batch.vertices.resize(1'000'000);
  for (size_t i = 0; i < batch.vertices.size(); ++i) {
    batch.vertices[i] = AcGePoint3d(double(i), double(i) * 2, 1);
  }
  batch.triangles.resize(2'000'000);
  for (size_t i = 0; i < batch.triangles.size(); ++i) {
    const int32_t v = static_cast<int32_t>(i / 2);
    batch.triangles[i] = {v, v + 1, v + 2};
  }
  const size_t vbytes = batch.vertices.size() * sizeof(AcGePoint3d);
  const size_t tbytes = batch.triangles.size() * sizeof(KWModel3DView::DataTriangle);
  double writeTime = 0, baseTime = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    {
      CRDDwgFiler filer;
      CModel::WriteModelData(&model, &filer);
      benchmark::DoNotOptimize(filer.GetData().asArrayPtr());
    }
    const double t = Seconds(start);
    writeTime += t;
    start = Clock::now();
    {
      auto* out = static_cast<char*>(std::malloc(vbytes + tbytes));
      std::memcpy(out, batch.vertices.data(), vbytes);
      std::memcpy(out + vbytes, batch.triangles.data(), tbytes);
      benchmark::DoNotOptimize(out);
      std::free(out);
    }
    baseTime += Seconds(start);
    state.SetIterationTime(t);
  }
  state.SetBytesProcessed(state.iterations() * (vbytes + tbytes));
  state.counters["throughput_vs_memcpy"] = baseTime / writeTime;
}

}  // namespace

BENCHMARK(write_model)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter.Counter("WriteModelData throughput / memcpy", "write_model", "throughput_vs_memcpy",
                   ">= 0.5");
  return kwbench::RunBenchmarks(argc, argv, reporter);
}
