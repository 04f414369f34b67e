// The main frame: its message loop with watchers, and window and thread timers.
#include <algorithm>

#include "host/api/win.h"
#include "host/embedded/frame/frame.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::frame::Frame;
using kwhost::frame::Timer;

constexpr UINT kMinElapse = 10;

// Shows the message to every watcher (a watcher may remove itself or others meanwhile).
void ShowWatchers(const MSG& msg) {
  std::vector<AcedWatchWinMsgFn> watchers = Frame().watchers;
  for (AcedWatchWinMsgFn fn : watchers) {
    auto& live = Frame().watchers;
    if (std::find(live.begin(), live.end(), fn) != live.end()) fn(&msg);
  }
}

Timer* FindTimer(HWND hwnd, UINT_PTR id) {
  for (Timer& t : Frame().timers) {
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
  for (const Timer& t : Frame().timers) {
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

namespace kwhost::frame {

State& Frame() {
  static State state;
  return state;
}

HWND MainFrame() {
  return reinterpret_cast<HWND>(static_cast<uintptr_t>(0x10000));
}

bool Close() {
  State& s = Frame();
  if (s.closed) return false;
  s.closed = true;
  ShowWatchers(MakeMsg(MainFrame(), WM_CLOSE, 0, 0));
  return true;
}

void Reset() {
  Frame() = State();
}

}  // namespace kwhost::frame

HWND adsw_acadMainWnd() {
  return kwhost::frame::MainFrame();
}
HWND acedGetAcadFrame() {
  return kwhost::frame::MainFrame();
}

bool acedRegisterWatchWinMsg(AcedWatchWinMsgFn fn) {
  auto& w = Frame().watchers;
  if (!fn || std::find(w.begin(), w.end(), fn) != w.end()) return false;
  w.push_back(fn);
  return true;
}

bool acedRemoveWatchWinMsg(AcedWatchWinMsgFn fn) {
  auto& w = Frame().watchers;
  auto it = std::find(w.begin(), w.end(), fn);
  if (it == w.end()) return false;
  w.erase(it);
  return true;
}

UINT_PTR SetTimer(HWND hwnd, UINT_PTR id, UINT elapseMs, TIMERPROC proc) {
  auto& s = Frame();
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
  auto& timers = Frame().timers;
  auto it = std::find_if(timers.begin(), timers.end(),
                         [&](const Timer& t) { return t.hwnd == hwnd && t.id == id; });
  if (it == timers.end()) return FALSE;
  timers.erase(it);
  return TRUE;
}

namespace kwhost {

void PostMainFrameMessage(unsigned msg, WPARAM wParam, LPARAM lParam) {
  PostWindowMessage(frame::MainFrame(), msg, wParam, lParam);
}

void PostWindowMessage(HWND hwnd, unsigned msg, WPARAM wParam, LPARAM lParam) {
  frame::Frame().posted.push_back(MakeMsg(hwnd, msg, wParam, lParam));
}

HWND NewWindow() {
  return reinterpret_cast<HWND>(frame::Frame().nextWindow++);
}

int PumpMessages() {
  auto& s = frame::Frame();
  size_t count = s.posted.size();
  int handled = 0;
  for (size_t i = 0; i < count && !s.posted.empty(); ++i, ++handled) {
    MSG msg = s.posted.front();
    s.posted.pop_front();
    ShowWatchers(msg);
  }
  return handled + FireTimers();
}

bool MainFrameClosed() {
  return frame::Frame().closed;
}

}  // namespace kwhost
