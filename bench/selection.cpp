// The merge step of KWSSGetWithKeyword: a pick of 10,000 ids (half of them already listed)
// merged into a list of 10,000, adding and (with Shift) removing, against a plain hash-set
// merge of the same ids into a vector. The platform's membership tests walk the list for every
// id; ours must stay linear. Target: merge / hash-set merge <= 3 for both.
//   bash scripts/bench.sh selection
#include <benchmark/benchmark.h>

#include <unordered_set>
#include <vector>

#include "bench/bench_util.h"
#include "editor/internal/SelectionSession.h"

namespace {

constexpr int kCount = 10000;

AcDbObjectId Id(int64_t n) {
  AcDbObjectId id;
  id.setFromOldId((int64_t{1} << 32) | n);
  return id;
}

// The list holds ids 0..9999; the pick ids 5000..14999 in a scrambled order.
struct Ids {
  AcDbObjectIdArray list, picked;
  Ids() {
    for (int i = 0; i < kCount; ++i) list.append(Id(i));
    for (int i = 0; i < kCount; ++i) picked.append(Id(kCount / 2 + (i * 7919) % kCount));
  }
};

const Ids& Data() {
  static const Ids ids;
  return ids;
}

void Merge(benchmark::State& state, bool adding) {
  const Ids& d = Data();
  for (auto _ : state) {
    AcDbObjectIdArray list = d.list;
    KWRDPub::selection::MergeIds(list, d.picked, adding);
    benchmark::DoNotOptimize(list.asArrayPtr());
  }
}

void BM_KeywordMergeAdding(benchmark::State& state) {
  Merge(state, true);
}
void BM_KeywordMergeRemoving(benchmark::State& state) {
  Merge(state, false);
}

void BM_HashSetMerge(benchmark::State& state) {
  const Ids& d = Data();
  for (auto _ : state) {
    std::vector<AcDbObjectId> list(d.list.begin(), d.list.end());
    std::unordered_set<AcDbObjectId> seen(list.begin(), list.end());
    for (const AcDbObjectId& id : d.picked) {
      if (seen.insert(id).second) list.push_back(id);
    }
    benchmark::DoNotOptimize(list.data());
  }
}

BENCHMARK(BM_KeywordMergeAdding)->Repetitions(5);
BENCHMARK(BM_KeywordMergeRemoving)->Repetitions(5);
BENCHMARK(BM_HashSetMerge)->Repetitions(5);

}  // namespace

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter
      .Times("keyword merge adding 10k into 10k / hash-set merge", "BM_KeywordMergeAdding",
             "BM_HashSetMerge", "<= 3")
      .Times("keyword merge removing 10k from 10k / hash-set merge", "BM_KeywordMergeRemoving",
             "BM_HashSetMerge", "<= 3");
  return kwbench::RunBenchmarks(argc, argv, reporter);
}
