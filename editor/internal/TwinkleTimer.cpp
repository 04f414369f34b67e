// The flashing highlight's timer procedure: one tick hides or shows every blinking entity in
// step with the phase, ends the blinks whose time ran out and refreshes the view.
#include "editor/Twinkle.h"
#include "editor/internal/DocLock.h"
#include "editor/internal/TwinkleState.h"
#include "host/api/aced.h"
#include "msg/MessageReport.h"

namespace KWRDPub::twinkle {

namespace {

// Brings every record to the phase; the ids whose time has run out by `now`.
std::vector<int> BlinkAll(DWORD now) {
  State& s = Twinkle();
  std::vector<int> expired;
  for (UENTINFO& r : s.records.all()) {
    // Unsigned 32-bit difference: a tick count that wrapped since the start still measures
    // the elapsed time.
    if (r.duration != static_cast<DWORD>(kTwinkleInfinite) && now - r.startTick >= r.duration) {
      expired.push_back(r.id);
    }
    if (r.state == s.phase || !CanWrite(r)) continue;
    if (acedRedraw(r.ent, s.phase) != RTNORM) continue;
    acedRedraw(r.ent, kUnhighlight);
    r.state = s.phase;
  }
  return expired;
}

// Ends one expired blink; an entity the phase had hidden is shown again (a temporary outline
// is erased instead).
void EndExpired(int id) {
  State& s = Twinkle();
  UENTINFO* r = s.records.find(id);
  if (!r) return;
  if (!s.temporaries.count(id) && r->state == kUndraw && CanWrite(*r)) {
    acedRedraw(r->ent, kDraw);
  }
  EndRecord(id, *r);
}

void StopTimer(UINT_PTR timerId) {
  if (KillTimer(nullptr, timerId)) Twinkle().timerRunning = 0;
}

}  // namespace

void TimerProc(HWND hwnd, UINT, UINT_PTR timerId, DWORD now) {
  State& s = Twinkle();
  // Before the first tick the phase counts as drawn, so the first tick hides.
  s.phase = s.phase == kUndraw ? kDraw : kUndraw;
  if (s.records.empty()) {
    StopTimer(timerId);
    return;
  }
  try {
    kweditor::DocLock lock;
    std::vector<int> expired = BlinkAll(now);
    for (size_t i = expired.size(); i-- > 0;) EndExpired(expired[i]);
    acedRedraw(nullptr, 0);
  } catch (...) {
    KWRDPub::ReportMessage(L"\n TimerProc error. \n");
    KWStopAllTwinkle(hwnd);
    StopTimer(timerId);
  }
}

}  // namespace KWRDPub::twinkle
