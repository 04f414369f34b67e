// The drawing database's cost per entity, against plain baselines measured in the same run:
//   add_entities     100,000 mixed entities (lines, arcs, lightweight polylines, text, inserts)
//                    added to model space under handles, as a drawing reader adds them, vs
//                    making the same entities into a std::vector               ratio <= 3
//   memory_per_file  heap bytes the added entities hold / the bytes their groups take in an
//                    ASCII drawing file (R2000 layout: code line, value line)   ratio <= 3
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <charconv>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bench/bench_util.h"
#include "host/api/dbents.h"
#include "host/api/dbpl.h"
#include "host/api/dbsymtb.h"
#include "host/embedded/db/kept.h"

namespace {

using kwbench::Clock;
using kwbench::Seconds;

constexpr int kEntities = 100'000;

AcDbEntity* MakeEntity(int i, AcDbObjectId block, AcDbObjectId style) {
  double x = i * 1.25, y = i * 0.5;
  switch (i % 5) {
    case 0:
      return new AcDbLine(AcGePoint3d(x, y, 0), AcGePoint3d(x + 10.5, y + 3.25, 0));
    case 1:
      return new AcDbArc(AcGePoint3d(x, y, 0), 2.5, 0.25, 1.75);
    case 2: {
      auto* pl = new AcDbPolyline(4);
      for (unsigned v = 0; v < 4; ++v) pl->addVertexAt(v, AcGePoint2d(x + v, y + (v % 2)));
      return pl;
    }
    case 3:
      return new AcDbText(AcGePoint3d(x, y, 0), L"K12+345.678", style, 2.5);
    default:
      return new AcDbBlockReference(AcGePoint3d(x, y, 0), block);
  }
}

// Bytes of the groups an ASCII R2000 file writes for the entity (code line and value line).
size_t FileBytes(int i) {
  auto group = [](const char* value) { return 4 + std::string(value).size() + 1; };
  auto real = [&](double v) {
    char buf[32];
    auto r = std::to_chars(buf, buf + sizeof buf, v);
    *r.ptr = 0;
    return group(buf);
  };
  double x = i * 1.25, y = i * 0.5;
  size_t bytes = group("LINE") + group("1A2B3") + group("1F") + group("AcDbEntity") + group("0");
  switch (i % 5) {
    case 0:
      return bytes + group("AcDbLine") + real(x) + real(y) + real(0) + real(x + 10.5) +
             real(y + 3.25) + real(0);
    case 1:
      return bytes + group("AcDbCircle") + real(x) + real(y) + real(0) + real(2.5) +
             group("AcDbArc") + real(14.323944878270581) + real(100.26761414789407);
    case 2:
      bytes += group("AcDbPolyline") + group("4") + group("0") + real(0);
      for (int v = 0; v < 4; ++v) bytes += real(x + v) + real(y + (v % 2));
      return bytes;
    case 3:
      return bytes + group("AcDbText") + real(x) + real(y) + real(0) + real(2.5) +
             group("K12+345.678") + group("AcDbText");
    default:
      return bytes + group("AcDbBlockReference") + group("WELL") + real(x) + real(y) + real(0);
  }
}

struct World {
  AcDbDatabase db;
  AcDbObjectId model, block, style;
  World() {
    model = db.currentSpaceId();
    style = db.textstyle();
    AcDbBlockTable* blocks = nullptr;
    db.getBlockTable(blocks, AcDb::kForWrite);
    auto* well = new AcDbBlockTableRecord();
    well->setName(L"WELL");
    blocks->add(block, well);
    well->appendAcDbEntity(new AcDbCircle(AcGePoint3d(), AcGeVector3d(0, 0, 1), 1));
    well->close();
    blocks->close();
  }
};

void add_entities(benchmark::State& state) {
  double dbTime = 0, baseTime = 0;
  for (auto _ : state) {
    World world;
    auto start = Clock::now();
    for (int i = 0; i < kEntities; ++i) {
      AcDbObjectId id;
      kwhost::db::AddWithHandle(world.db, MakeEntity(i, world.block, world.style),
                                AcDbHandle(0x100 + i), world.model, id);
    }
    const double t = Seconds(start);
    dbTime += t;
    start = Clock::now();
    {
      std::vector<std::unique_ptr<AcDbEntity>> plain;
      for (int i = 0; i < kEntities; ++i) {
        plain.emplace_back(MakeEntity(i, world.block, world.style));
      }
      benchmark::DoNotOptimize(plain.data());
    }
    baseTime += Seconds(start);
    state.SetIterationTime(t);
  }
  state.counters["ratio"] = dbTime / baseTime;
}

void memory_per_file(benchmark::State& state) {
  double ratio = 0;
  for (auto _ : state) {
    World world;
    size_t before = mallinfo2().uordblks;
    size_t fileBytes = 0;
    for (int i = 0; i < kEntities; ++i) {
      AcDbObjectId id;
      kwhost::db::AddWithHandle(world.db, MakeEntity(i, world.block, world.style),
                                AcDbHandle(0x100 + i), world.model, id);
      fileBytes += FileBytes(i);
    }
    size_t held = mallinfo2().uordblks - before;
    ratio = static_cast<double>(held) / static_cast<double>(fileBytes);
    state.counters["bytes_per_entity"] = static_cast<double>(held) / kEntities;
  }
  state.counters["ratio"] = ratio;
}

BENCHMARK(add_entities)->Iterations(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(memory_per_file)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  kwbench::RatioReporter reporter;
  reporter.Counter("add_entities: database / plain vector", "add_entities", "ratio", "<= 3")
      .Counter("memory_per_file: heap bytes / ASCII file bytes", "memory_per_file", "ratio",
               "<= 3");
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
