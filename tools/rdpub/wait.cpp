#include "tools/rdpub/wait.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "host/api/aced.h"
#include "kwhost/embedded.h"

namespace rdpub {

namespace {

constexpr int kDefaultMs = 1000;
constexpr int kLongestMs = 600000;

}  // namespace

void Wait() {
  int ms = kDefaultMs;
  const int rc = acedGetInt(L"\n等待毫秒数 <1000>: ", &ms);
  if (rc == RTCAN) return;
  if (rc == RTNONE) ms = kDefaultMs;
  ms = std::clamp(ms, 0, kLongestMs);
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
  kwhost::PumpMessages();
  while (std::chrono::steady_clock::now() < end) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    kwhost::PumpMessages();
  }
}

}  // namespace rdpub
