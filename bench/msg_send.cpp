// SendMessageW (send trace off) to 8 watchers of which 2 match, against the same filtered calls
// made through std::function in a hand-written loop; the same send with 512 watchers of which 2
// match, against the 8-watcher send (a send must not pay for the watchers it does not reach);
// traced sends of both sizes; and Boost.Signals2 emitting to the same two slots.
// Targets: 8/2 send / loop <= 2; 512/2 send / 8/2 send <= 1.3; Signals2 / send >= 2.
//   bash scripts/bench.sh msg_send             (Release, in the tree)
//   bash scripts/bench.sh --consumer msg_send  (an outside program against an install)
// The file uses only installed headers, so that the outside build compiles it unchanged.
#include <benchmark/benchmark.h>

#include <boost/signals2/signal.hpp>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "bench/bench_util.h"
#include "kwhost/embedded.h"
#include "msg/ModuleState.h"
#include "msg/RDMsgManager.h"
#include "msg/TraceLogo.h"

namespace {

unsigned long Answer(KWMSGHDR* msg, void*) {
  benchmark::DoNotOptimize(msg);
  return msg->msg;
}

// `watchers` registrations with the built-in "ShowMsg": two for (5, 3), the others for pairs of
// their own.
void SendTo(benchmark::State& state, unsigned watchers, uint32_t trace) {
  kwhost::ResetSession();
  KWRDPub::GetModuleState().SetSendLog(trace);
  CRDMsgManager* mgr = CRDMsgManager::GetInstance();
  for (unsigned i = 0; i + 1 < watchers; ++i) {
    mgr->Register(L"W", i < 2 ? 5 : 100 + i, 3, &Answer, nullptr);
  }
  KWMSGHDR msg{5, 3, 0};
  for (auto _ : state) benchmark::DoNotOptimize(mgr->SendMessageW(&msg));
  mgr->RemoveRegister(&Answer);
  KWRDPub::GetModuleState().SetSendLog(1);
}

void BM_SendMessageW(benchmark::State& state) {
  SendTo(state, 8, 0);
}
void BM_SendMessageW512(benchmark::State& state) {
  SendTo(state, 512, 0);
}
void BM_TracedSend(benchmark::State& state) {
  SendTo(state, 8, 1);
}
void BM_TracedSend512(benchmark::State& state) {
  SendTo(state, 512, 1);
}

struct Slot {
  uint32_t type, code;
  std::function<unsigned long(KWMSGHDR*)> fn;
};

void BM_FunctionLoop(benchmark::State& state) {
  std::vector<Slot> slots;
  slots.push_back({1, 9, [](KWMSGHDR* m) { return Answer(m, nullptr); }});
  for (unsigned i = 0; i < 7; ++i) {
    slots.push_back({i < 2 ? 5u : 100 + i, 3, [](KWMSGHDR* m) { return Answer(m, nullptr); }});
  }
  KWMSGHDR msg{5, 3, 0};
  for (auto _ : state) {
    unsigned long result = 0;
    for (const Slot& s : slots) {
      if (s.type != msg.type || s.code != msg.msg) continue;
      unsigned long a = s.fn(&msg);
      if (a) result = a;
      if (result > 0x7FFFFFFF) break;
    }
    benchmark::DoNotOptimize(result);
  }
}

void BM_Signals2(benchmark::State& state) {
  boost::signals2::signal<unsigned long(KWMSGHDR*)> sig;
  sig.connect([](KWMSGHDR* m) { return Answer(m, nullptr); });
  sig.connect([](KWMSGHDR* m) { return Answer(m, nullptr); });
  KWMSGHDR msg{5, 3, 0};
  for (auto _ : state) benchmark::DoNotOptimize(sig(&msg));
}

BENCHMARK(BM_SendMessageW)->Repetitions(5);
BENCHMARK(BM_SendMessageW512)->Repetitions(5);
BENCHMARK(BM_FunctionLoop)->Repetitions(5);
BENCHMARK(BM_TracedSend)->Repetitions(5);
BENCHMARK(BM_TracedSend512)->Repetitions(5);
BENCHMARK(BM_Signals2)->Repetitions(5);

}  // namespace

int main(int argc, char** argv) {
  // Traced sends write to the trace log; no companion program is started for it.
  setenv("KWRD_INSTALL_DIR", "/nonexistent/kwrdpub-bench", 1);
  kwbench::RatioReporter reporter;
  reporter
      .Times("SendMessageW 8/2 / std::function loop", "BM_SendMessageW", "BM_FunctionLoop", "<= 2")
      .Times("SendMessageW 512/2 / SendMessageW 8/2", "BM_SendMessageW512", "BM_SendMessageW",
             "<= 1.3")
      .Times("traced send 512/2 / traced send 8/2", "BM_TracedSend512", "BM_TracedSend", "<= 1.3")
      .Times("Signals2 / SendMessageW 8/2", "BM_Signals2", "BM_SendMessageW", ">= 2");
  int status = kwbench::RunBenchmarks(argc, argv, reporter);
  KWRDPub::CTraceLogo::Destroy();
  return status;
}
