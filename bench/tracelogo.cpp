// TraceLogo of a typical 60-character line against vswprintf of the same line into a stack
// buffer plus a memcpy. Target ratio <= 1.3.
//   ninja -C build bench_tracelogo && build/bench/bench_tracelogo
#include <benchmark/benchmark.h>

#include <cstdarg>
#include <cstring>
#include <cwchar>
#include <string>

#include "bench/bench_util.h"
#include "msg/TraceLogo.h"

namespace {

// 60 characters once formatted.
#define KW_LINE_ARGS \
  L"<RDMsg_SendMessage%u type='%u' msg='%u' from='%ls'>", 12u, 5u, 3u, L",1,2,3,4,5,6,7,8,9,10,11,"

char16_t g_area[1 << 16];

void Baseline(const wchar_t* format, ...) {
  wchar_t buf[10240];
  va_list args;
  va_start(args, format);
  int n = vswprintf(buf, 10240, format, args);
  va_end(args);
  memcpy(g_area, buf, static_cast<size_t>(n + 1) * 2);  // the same byte count as the line
  benchmark::ClobberMemory();
}

void BM_TraceLogo(benchmark::State& state) {
  KWRDPub::TraceLogo(L"warm");
  for (auto _ : state) KWRDPub::TraceLogo(KW_LINE_ARGS);
}

void BM_VswprintfMemcpy(benchmark::State& state) {
  for (auto _ : state) Baseline(KW_LINE_ARGS);
}

BENCHMARK(BM_TraceLogo);
BENCHMARK(BM_VswprintfMemcpy);

}  // namespace

int main(int argc, char** argv) {
  kwbench::RatioReporter reporter;
  reporter.Times("TraceLogo / vswprintf+memcpy", "BM_TraceLogo", "BM_VswprintfMemcpy", "<= 1.3");
  const int result = kwbench::RunBenchmarks(argc, argv, reporter);
  KWRDPub::CTraceLogo::Destroy();
  return result;
}
