// The frame service: the main frame window, its message loop with the window-message watchers,
// window and thread timers, and the host clock.
//
// Invariants:
//   1. Timer ids are unique among the timers of one window (null window: thread timers).
//   2. `closed` goes from false to true once per session; WM_CLOSE is shown once.
//   3. With the manual clock, `tick` and `localMs` move only through SetManualClock and
//      AdvanceClock; otherwise the real clocks are read on every call.
#ifndef KW_HOST_EMBEDDED_FRAME_FRAME_H_
#define KW_HOST_EMBEDDED_FRAME_FRAME_H_

#include <cstdint>
#include <deque>
#include <vector>

#include "host/api/win.h"

namespace kwhost::frame {

struct Timer {
  HWND hwnd;
  UINT_PTR id;
  UINT elapse;
  TIMERPROC proc;
  uint32_t last;  // tick when set or last fired
};

struct Clock {
  bool manual = false;
  uint32_t tick = 0;
  int64_t localMs = 0;  // local time, milliseconds since the Unix epoch
};

struct State {
  std::vector<AcedWatchWinMsgFn> watchers;
  std::deque<MSG> posted;
  std::vector<Timer> timers;
  UINT_PTR nextThreadTimer = 1;
  uintptr_t nextWindow = 0x20000;
  bool closed = false;
  Clock clock;
};

State& Frame();
HWND MainFrame();
// Shows WM_CLOSE to the watchers and marks the frame closed. False (nothing shown) when it
// was closed already.
bool Close();
// A new session's frame: open, no watchers, messages or timers, the real clock.
void Reset();

}  // namespace kwhost::frame

#endif  // KW_HOST_EMBEDDED_FRAME_FRAME_H_
