// User-variable lookups against std::unordered_map, measured in the same run:
//   get_int_10k  GetIntVar of each of 10,000 registered (loaded) variables, names in a mixed
//                case; baseline: unordered_map<wstring, int>::find of the same names.
//                Target: ratio <= 3 (the table keeps its sorted order and case rules).
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "bench/bench_util.h"
#include "common/testing/TempDir.h"
#include "persist/RDUserConfig.h"

namespace {

using kwbench::Clock;
using kwbench::Seconds;
constexpr int kVars = 10'000;

void get_int_10k(benchmark::State& state) {
  const kwtest::TempDir dir("kwbench_vars");
  setenv("KWRD_USER_DIR", dir.path().c_str(), 1);
  std::vector<std::wstring> names;
  std::unordered_map<std::wstring, int> plain;
  RDUserConfig::Clear();
  for (int i = 0; i < kVars; ++i) {
    names.push_back(L"RoadVariable_" + std::to_wstring((i * 7919) % kVars));
    int value = i;
    RDUserConfig::RegisterVar(names.back().c_str(), RDUserConfig::kIntVar, &value);
    plain.emplace(names.back(), i);
  }
  RDUserConfig::GetIntVar(names[0].c_str(), 0);  // loads the table once
  double oursTime = 0, baseTime = 0;
  for (auto _ : state) {
    long sum = 0;
    auto start = Clock::now();
    for (int rep = 0; rep < 10; ++rep) {
      for (const std::wstring& name : names) sum += RDUserConfig::GetIntVar(name.c_str(), 0);
    }
    const double t = Seconds(start);
    oursTime += t;
    start = Clock::now();
    for (int rep = 0; rep < 10; ++rep) {
      for (const std::wstring& name : names) sum += plain.find(name)->second;
    }
    baseTime += Seconds(start);
    benchmark::DoNotOptimize(sum);
    state.SetIterationTime(t);
  }
  state.counters["ratio"] = oursTime / baseTime;
  RDUserConfig::Clear();
}

}  // namespace

BENCHMARK(get_int_10k)->UseManualTime()->Unit(benchmark::kMicrosecond)->MinTime(1.0);

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter.Counter("GetIntVar / unordered_map", "get_int_10k", "ratio", "<= 3");
  return kwbench::RunBenchmarks(argc, argv, reporter);
}
