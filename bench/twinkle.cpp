// One timer tick of the flashing highlight with 10,000 entities blinking, against the floor it
// cannot go below: the 10,000 acedRedraw calls that hide or show those entities.
// Target: tick / redraw calls <= 3.
//   bash scripts/bench.sh twinkle
#include <benchmark/benchmark.h>

#include <vector>

#include "bench/bench_util.h"
#include "editor/Twinkle.h"
#include "host/api/aced.h"
#include "host/api/dbads.h"
#include "host/api/dbents.h"
#include "host/api/dbsymtb.h"
#include "kwhost/embedded.h"

namespace {

constexpr int kEntities = 10000;

struct Name {
  ads_name value;
};

// A fresh session with the manual clock and kEntities lines in model space: their names.
std::vector<Name> Drawing() {
  kwhost::ResetSession();
  kwhost::SetManualClock(1000, 12, 0, 0);
  AcDbBlockTable* table = nullptr;
  kwhost::CurrentDatabase()->getBlockTable(table, AcDb::kForRead);
  AcDbBlockTableRecord* space = nullptr;
  table->getAt(L"*Model_Space", space, AcDb::kForWrite);
  table->close();
  std::vector<Name> names(kEntities);
  for (int i = 0; i < kEntities; ++i) {
    AcDbObjectId id;
    auto* line = new AcDbLine(AcGePoint3d(i, 0, 0), AcGePoint3d(i, 10, 0));
    space->appendAcDbEntity(id, line);
    line->close();
    acdbGetAdsName(names[i].value, id);
  }
  space->close();
  return names;
}

void BM_TwinkleTick(benchmark::State& state) {
  auto names = Drawing();
  for (auto& name : names) KWTwinkle(name.value, 0, kTwinkleInfinite);
  for (auto _ : state) {
    kwhost::AdvanceClock(166);
    benchmark::DoNotOptimize(kwhost::PumpMessages());
  }
  KWStopAllTwinkle(nullptr);
  kwhost::AdvanceClock(1000);
  kwhost::PumpMessages();
}

// What a tick must do at least: hide (or show) every blinking entity once.
void BM_RedrawCalls(benchmark::State& state) {
  auto names = Drawing();
  int mode = 2;
  for (auto _ : state) {
    for (auto& name : names) benchmark::DoNotOptimize(acedRedraw(name.value, mode));
    mode = 3 - mode;
  }
}

BENCHMARK(BM_TwinkleTick)->Repetitions(5);
BENCHMARK(BM_RedrawCalls)->Repetitions(5);

}  // namespace

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter.Times("twinkle tick / acedRedraw calls (10,000 entities)", "BM_TwinkleTick",
                 "BM_RedrawCalls", "<= 3");
  return kwbench::RunBenchmarks(argc, argv, reporter);
}
