// The memory filer's hot paths against plain baselines measured in the same run. Each benchmark
// times both sides itself and reports the filer's time (manual time) and the ratio:
//   write_double  writeDouble x 10M vs appending the bytes to a std::vector   ratio <= 1.5
//   read_double   readDouble x 10M vs memcpy value by value from a buffer      ratio <= 1.5
//   write_bytes   writeBytes 64 MiB in 1 MiB blocks vs memcpy into a buffer   throughput >= 0.5
//   mixed_record  ints, doubles, a point, two strings x 1M vs cereal binary    speedup >= 3
#include <benchmark/benchmark.h>

#include <cereal/archives/binary.hpp>
#include <cereal/types/string.hpp>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "bench/bench_util.h"
#include "persist/RDDwgFiler.h"

namespace {

using kwbench::Clock;
using kwbench::Seconds;

constexpr int kDoubles = 10'000'000;

void write_double(benchmark::State& state) {
  double filerTime = 0, baseTime = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    {
      CRDDwgFiler filer;
      for (int i = 0; i < kDoubles; ++i) filer.writeDouble(i * 0.5);
      benchmark::DoNotOptimize(filer.GetData().asArrayPtr());
    }
    const double t = Seconds(start);
    filerTime += t;
    start = Clock::now();
    {
      std::vector<unsigned char> bytes;
      for (int i = 0; i < kDoubles; ++i) {
        const double v = i * 0.5;
        const auto* p = reinterpret_cast<const unsigned char*>(&v);
        bytes.insert(bytes.end(), p, p + sizeof(v));
      }
      benchmark::DoNotOptimize(bytes.data());
    }
    baseTime += Seconds(start);
    state.SetIterationTime(t);
  }
  state.counters["ratio"] = filerTime / baseTime;
}

void read_double(benchmark::State& state) {
  CRDDwgFiler filer;
  for (int i = 0; i < kDoubles; ++i) filer.writeDouble(i * 0.5);
  const unsigned char* buffer = filer.GetData().asArrayPtr();
  double filerTime = 0, baseTime = 0;
  for (auto _ : state) {
    filer.seek(0, 0);
    double sum = 0, v = 0;
    auto start = Clock::now();
    for (int i = 0; i < kDoubles; ++i) {
      filer.readDouble(&v);
      sum += v;
    }
    const double t = Seconds(start);
    filerTime += t;
    benchmark::DoNotOptimize(sum);
    start = Clock::now();
    for (int i = 0; i < kDoubles; ++i) {
      std::memcpy(&v, buffer + 8 * static_cast<size_t>(i), 8);
      benchmark::DoNotOptimize(v);
      sum += v;
    }
    baseTime += Seconds(start);
    benchmark::DoNotOptimize(sum);
    state.SetIterationTime(t);
  }
  state.counters["ratio"] = filerTime / baseTime;
}

void write_bytes(benchmark::State& state) {
  constexpr size_t kBlock = 1 << 20;
  constexpr int kBlocks = 64;
  std::vector<char> block(kBlock, 'k');
  double filerTime = 0, baseTime = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    {
      CRDDwgFiler filer;
      for (int i = 0; i < kBlocks; ++i) filer.writeBytes(block.data(), kBlock);
      benchmark::DoNotOptimize(filer.GetData().asArrayPtr());
    }
    const double t = Seconds(start);
    filerTime += t;
    start = Clock::now();
    {
      auto* out = static_cast<char*>(std::malloc(kBlock * kBlocks));
      for (int i = 0; i < kBlocks; ++i) std::memcpy(out + i * kBlock, block.data(), kBlock);
      benchmark::DoNotOptimize(out);
      std::free(out);
    }
    baseTime += Seconds(start);
    state.SetIterationTime(t);
  }
  state.SetBytesProcessed(state.iterations() * kBlock * kBlocks);
  state.counters["throughput_vs_memcpy"] = baseTime / filerTime;
}

struct Record {
  int32_t a = 1, b = -2;
  double x = 3.25, y = -4.5;
  double px = 1, py = 2, pz = 3;
  std::wstring s1 = L"K0+120", s2 = L"路基";

  template <class Archive>
  void serialize(Archive& ar) {
    ar(a, b, x, y, px, py, pz, s1, s2);
  }
};

constexpr int kRecords = 1'000'000;

void mixed_record(benchmark::State& state) {
  const Record r;
  double filerWrite = 0, filerRead = 0, cerealWrite = 0, cerealRead = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    CRDDwgFiler filer;
    for (int i = 0; i < kRecords; ++i) {
      filer.writeInt32(r.a);
      filer.writeInt32(r.b);
      filer.writeDouble(r.x);
      filer.writeDouble(r.y);
      filer.writePoint3d(AcGePoint3d(r.px, r.py, r.pz));
      filer.writeString(r.s1.c_str());
      filer.writeString(r.s2.c_str());
    }
    const double w = Seconds(start);
    filerWrite += w;
    filer.seek(0, 0);
    start = Clock::now();
    Record in;
    AcGePoint3d p;
    AcString s1, s2;
    for (int i = 0; i < kRecords; ++i) {
      filer.readInt32(&in.a);
      filer.readInt32(&in.b);
      filer.readDouble(&in.x);
      filer.readDouble(&in.y);
      filer.readPoint3d(&p);
      filer.readString(s1);
      filer.readString(s2);
      benchmark::DoNotOptimize(s2.kwszPtr());
    }
    const double rd = Seconds(start);
    filerRead += rd;

    start = Clock::now();
    std::ostringstream os;
    {
      cereal::BinaryOutputArchive out(os);
      for (int i = 0; i < kRecords; ++i) out(r);
    }
    cerealWrite += Seconds(start);
    std::istringstream is(os.str());
    start = Clock::now();
    {
      cereal::BinaryInputArchive input(is);
      for (int i = 0; i < kRecords; ++i) {
        input(in);
        benchmark::DoNotOptimize(in.s2.data());
      }
    }
    cerealRead += Seconds(start);
    state.SetIterationTime(w + rd);
  }
  state.counters["write_speedup_vs_cereal"] = cerealWrite / filerWrite;
  state.counters["read_speedup_vs_cereal"] = cerealRead / filerRead;
}

}  // namespace

BENCHMARK(write_double)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(read_double)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(write_bytes)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);
BENCHMARK(mixed_record)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter.Counter("writeDouble / vector append", "write_double", "ratio", "<= 1.5")
      .Counter("readDouble / memcpy", "read_double", "ratio", "<= 1.5")
      .Counter("writeBytes throughput / memcpy", "write_bytes", "throughput_vs_memcpy", ">= 0.5")
      .Counter("mixed record write, cereal / filer", "mixed_record", "write_speedup_vs_cereal",
               ">= 3")
      .Counter("mixed record read, cereal / filer", "mixed_record", "read_speedup_vs_cereal",
               ">= 3");
  return kwbench::RunBenchmarks(argc, argv, reporter);
}
