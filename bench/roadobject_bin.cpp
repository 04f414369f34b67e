// LoadAll of a folder of 10,000 road object files against opening and reading the same files
// with plain POSIX calls (opendir/readdir, open/fstat/read/close), in the same run.
// Target: ratio <= 1.5.
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "bench/bench_util.h"
#include "common/fileio.h"
#include "common/testing/TempDir.h"
#include "persist/RoadObjectBin.h"

namespace {

using kwbench::Clock;
using kwbench::Seconds;
constexpr int kFiles = 10'000;

class CBenchObject : public KWCommonUtils::CRoadObjectBin {};

class CBenchManager : public KWCommonUtils::CRoadObjectBinManager {
 public:
  explicit CBenchManager(std::wstring folder) : m_folder(std::move(folder)) {}

 protected:
  std::wstring FilePath() const override { return m_folder; }
  std::wstring FileExt() const override { return L".rob"; }
  KWCommonUtils::CRoadObjectBin* LoadRoadObjectData(void* data, int size,
                                                    std::wstring& error) override {
    auto* object = new CBenchObject;
    if (object->Load(data, size, error)) return object;
    delete object;
    return nullptr;
  }

 private:
  std::wstring m_folder;
};

// Saves the benchmark's objects into the folder.
void FillFolder(const kwtest::TempDir& folder) {
  CBenchManager manager(folder.wpath());
  for (int i = 0; i < kFiles; ++i) {
    auto* object = new CBenchObject;
    object->SetName(L"Object" + std::to_wstring(i));
    object->SetDesc(L"a road object of the benchmark");
    object->CreateGUID();
    manager.Add(object);
  }
  if (!manager.SaveAll()) std::abort();
}

size_t PosixReadAll(const std::string& folder) {
  size_t total = 0;
  DIR* dir = opendir(folder.c_str());
  std::vector<char> buffer;
  while (dirent* entry = readdir(dir)) {
    if (entry->d_name[0] == '.') continue;
    const std::string path = folder + "/" + entry->d_name;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat st {};
    fstat(fd, &st);
    buffer.resize(static_cast<size_t>(st.st_size));
    total += static_cast<size_t>(read(fd, buffer.data(), buffer.size()));
    close(fd);
  }
  closedir(dir);
  return total;
}

void load_all(benchmark::State& state) {
  const kwtest::TempDir temp("kw_bench_rob");
  FillFolder(temp);
  const std::string& folder = temp.path();
  CBenchManager manager(temp.wpath());
  double loadTime = 0, baseTime = 0;
  for (auto _ : state) {
    auto start = Clock::now();
    std::vector<std::wstring> errors;
    if (!manager.LoadAll(errors) || manager.Count() != kFiles) std::abort();
    const double t = Seconds(start);
    loadTime += t;
    start = Clock::now();
    benchmark::DoNotOptimize(PosixReadAll(folder));
    baseTime += Seconds(start);
    state.SetIterationTime(t);
  }
  state.counters["ratio"] = loadTime / baseTime;
}

}  // namespace

BENCHMARK(load_all)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter.Counter("LoadAll / POSIX reads", "load_all", "ratio", "<= 1.5");
  return kwbench::RunBenchmarks(argc, argv, reporter);
}
