// The main frame: its message loop with watchers, thread timers and the host clock.
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>

#include "host/api/win.h"
#include "host/embedded/internal/session.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::detail::S;
using kwhost::detail::Timer;

constexpr UINT kMinElapse = 10;

int64_t NowMs(clockid_t clock) {
  timespec ts{};
  clock_gettime(clock, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

// Shows the message to every watcher (a watcher may remove itself or others meanwhile).
void ShowWatchers(const MSG& msg) {
  std::vector<AcedWatchWinMsgFn> watchers = S().watchers;
  for (AcedWatchWinMsgFn fn : watchers) {
    auto& live = S().watchers;
    if (std::find(live.begin(), live.end(), fn) != live.end()) fn(&msg);
  }
}

Timer* FindTimer(HWND hwnd, UINT_PTR id) {
  for (Timer& t : S().timers) {
    if (t.hwnd == hwnd && t.id == id) return &t;
  }
  return nullptr;
}

MSG MakeMsg(HWND hwnd, UINT message, WPARAM w, LPARAM l) {
  return MSG{hwnd, message, w, l, GetTickCount()};
}

// Runs every due timer once; a timer killed by an earlier procedure of the pass is skipped.
int FireTimers() {
  struct Due {
    HWND hwnd;
    UINT_PTR id;
  };
  std::vector<Due> due;
  const uint32_t now = GetTickCount();
  for (const Timer& t : S().timers) {
    if (now - t.last >= t.elapse) due.push_back({t.hwnd, t.id});
  }
  for (const Due& d : due) {
    Timer* t = FindTimer(d.hwnd, d.id);
    if (!t) continue;
    t->last = now;
    TIMERPROC proc = t->proc;
    ShowWatchers(MakeMsg(d.hwnd, WM_TIMER, d.id, reinterpret_cast<LPARAM>(proc)));
    if (proc && FindTimer(d.hwnd, d.id)) proc(d.hwnd, WM_TIMER, d.id, now);
  }
  return static_cast<int>(due.size());
}

}  // namespace

namespace kwhost::detail {
HWND MainFrame() {
  return reinterpret_cast<HWND>(static_cast<uintptr_t>(0x10000));
}
}  // namespace kwhost::detail

HWND adsw_acadMainWnd() {
  return kwhost::detail::MainFrame();
}
HWND acedGetAcadFrame() {
  return kwhost::detail::MainFrame();
}

bool acedRegisterWatchWinMsg(AcedWatchWinMsgFn fn) {
  auto& w = S().watchers;
  if (!fn || std::find(w.begin(), w.end(), fn) != w.end()) return false;
  w.push_back(fn);
  return true;
}

bool acedRemoveWatchWinMsg(AcedWatchWinMsgFn fn) {
  auto& w = S().watchers;
  auto it = std::find(w.begin(), w.end(), fn);
  if (it == w.end()) return false;
  w.erase(it);
  return true;
}

UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapseMs, TIMERPROC proc) {
  auto& s = S();
  const UINT elapse = std::max(elapseMs, kMinElapse);
  if (Timer* existing = FindTimer(hwnd, id); existing && (hwnd || id != 0)) {
    *existing = Timer{hwnd, id, elapse, proc, GetTickCount()};
    return id;
  }
  if (!hwnd) {
    do {
      id = s.nextThreadTimer++;
    } while (id == 0 || FindTimer(nullptr, id));
  } else if (id == 0) {
    return 0;
  }
  s.timers.push_back(Timer{hwnd, id, elapse, proc, GetTickCount()});
  return id;
}

BOOL KillTimer(HWND hwnd, UINT_PTR id) {
  auto& timers = S().timers;
  auto it = std::find_if(timers.begin(), timers.end(),
                         [&](const Timer& t) { return t.hwnd == hwnd && t.id == id; });
  if (it == timers.end()) return FALSE;
  timers.erase(it);
  return TRUE;
}

DWORD GetTickCount() {
  auto& s = S();
  if (s.manualClock) return s.manualTick;
  return static_cast<DWORD>(NowMs(CLOCK_MONOTONIC));
}

void GetLocalTime(SYSTEMTIME* st) {
  if (!st) return;
  auto& s = S();
  int64_t ms = s.manualClock ? s.manualMs : NowMs(CLOCK_REALTIME);
  time_t secs = static_cast<time_t>(ms / 1000);
  tm parts{};
  if (s.manualClock) {
    gmtime_r(&secs, &parts);  // the manual clock already counts local time
  } else {
    localtime_r(&secs, &parts);
  }
  *st = SYSTEMTIME{
      static_cast<uint16_t>(parts.tm_year + 1900), static_cast<uint16_t>(parts.tm_mon + 1),
      static_cast<uint16_t>(parts.tm_wday),        static_cast<uint16_t>(parts.tm_mday),
      static_cast<uint16_t>(parts.tm_hour),        static_cast<uint16_t>(parts.tm_min),
      static_cast<uint16_t>(parts.tm_sec),         static_cast<uint16_t>(ms % 1000)};
}

DWORD GetCurrentProcessId() {
  return static_cast<DWORD>(getpid());
}

namespace kwhost {

void PostMainFrameMessage(unsigned msg, WPARAM wParam, LPARAM lParam) {
  PostWindowMessage(detail::MainFrame(), msg, wParam, lParam);
}

void PostWindowMessage(HWND hwnd, unsigned msg, WPARAM wParam, LPARAM lParam) {
  detail::S().posted.push_back(MakeMsg(hwnd, msg, wParam, lParam));
}

HWND NewWindow() {
  return reinterpret_cast<HWND>(detail::S().nextWindow++);
}

int PumpMessages() {
  auto& s = detail::S();
  size_t count = s.posted.size();
  int handled = 0;
  for (size_t i = 0; i < count && !s.posted.empty(); ++i, ++handled) {
    MSG msg = s.posted.front();
    s.posted.pop_front();
    ShowWatchers(msg);
  }
  return handled + FireTimers();
}

void CloseMainFrame() {
  auto& s = detail::S();
  if (s.frameClosed) return;
  s.frameClosed = true;
  ShowWatchers(MakeMsg(detail::MainFrame(), WM_CLOSE, 0, 0));
  detail::UnloadAllModules();
}

bool MainFrameClosed() {
  return detail::S().frameClosed;
}

void SetManualClock(uint32_t tickMs, int hour, int minute, int second) {
  auto& s = detail::S();
  s.manualClock = true;
  s.manualTick = tickMs;
  constexpr int64_t k20240101 = 1704067200;  // 2024-01-01 00:00:00, seconds since 1970
  s.manualMs = (k20240101 + hour * 3600LL + minute * 60LL + second) * 1000;
}

void AdvanceClock(uint32_t ms) {
  auto& s = detail::S();
  if (!s.manualClock) return;
  s.manualTick += ms;
  s.manualMs += ms;
}

void UseRealClock() {
  detail::S().manualClock = false;
}

}  // namespace kwhost
