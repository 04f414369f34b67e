// What every benchmark program shares: a clock for benchmarks that time their baseline
// themselves, and a reporter that prints, after the usual table, each named ratio with its
// target, computed from the runs of this same process (never from figures of another run).
#ifndef KW_BENCH_BENCH_UTIL_H_
#define KW_BENCH_BENCH_UTIL_H_

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kwbench {

using Clock = std::chrono::steady_clock;

inline double Seconds(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// The console table, then one line per ratio: "<label> = <value> (target <target>)". A ratio
// whose benchmarks did not run (filtered out) is left out; a benchmark run repeatedly
// (--benchmark_repetitions) counts with its fastest run. Benchmarks are named by their
// function name, without the "/iterations:5/manual_time" suffixes.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  // Counters as "name=value" after each row, as the stock main prints them; colour only on a
  // terminal.
  RatioReporter() : ConsoleReporter(isatty(STDOUT_FILENO) != 0 ? OO_Color : OO_None) {}

  // label = CPU time per iteration of `numerator` / that of `denominator`.
  RatioReporter& Times(std::string label, std::string numerator, std::string denominator,
                       std::string target) {
    m_ratios.push_back({std::move(label), std::move(numerator), std::move(denominator),
                        std::string(), std::move(target)});
    return *this;
  }
  // label = the counter `counter` that `benchmark` set (a ratio it measured against its own
  // baseline within each iteration).
  RatioReporter& Counter(std::string label, std::string benchmark, std::string counter,
                         std::string target) {
    m_ratios.push_back({std::move(label), std::move(benchmark), std::string(), std::move(counter),
                        std::move(target)});
    return *this;
  }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      Figures& figures = m_figures[run.run_name.function_name];
      // Of repeated runs the fastest counts: it is the one other load on the machine disturbed
      // least.
      const double cpuTime = run.GetAdjustedCPUTime();
      if (figures.cpuTime <= 0 || cpuTime < figures.cpuTime) figures.cpuTime = cpuTime;
      for (const auto& [name, counter] : run.counters) figures.counters[name] = counter.value;
    }
    ConsoleReporter::ReportRuns(runs);
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    for (const Ratio& ratio : m_ratios) {
      double value = 0;
      if (Value(ratio, &value)) {
        std::printf("%s = %.2f (target %s)\n", ratio.label.c_str(), value, ratio.target.c_str());
      }
    }
    std::fflush(stdout);
  }

 private:
  struct Ratio {
    std::string label, benchmark, denominator, counter, target;
  };
  struct Figures {
    double cpuTime = 0;
    std::map<std::string, double> counters;
  };

  bool Value(const Ratio& ratio, double* value) const {
    const auto it = m_figures.find(ratio.benchmark);
    if (it == m_figures.end()) return false;
    if (!ratio.counter.empty()) {
      const auto counter = it->second.counters.find(ratio.counter);
      if (counter == it->second.counters.end()) return false;
      *value = counter->second;
      return true;
    }
    const auto base = m_figures.find(ratio.denominator);
    if (base == m_figures.end() || it->second.cpuTime <= 0 || base->second.cpuTime <= 0) {
      return false;
    }
    *value = it->second.cpuTime / base->second.cpuTime;
    return true;
  }

  std::vector<Ratio> m_ratios;
  std::map<std::string, Figures> m_figures;
};

// The body of every benchmark program's main: runs the selected benchmarks through `reporter`.
inline int RunBenchmarks(int argc, char** argv, RatioReporter& reporter) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}

}  // namespace kwbench

#endif  // KW_BENCH_BENCH_UTIL_H_
