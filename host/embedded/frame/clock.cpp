// The host clock: real by default, manual in tests (GetTickCount and local time move only when
// told), and the process id.
#include <time.h>
#include <unistd.h>

#include <ctime>

#include "host/api/win.h"
#include "host/embedded/frame/frame.h"
#include "kwhost/embedded.h"

namespace {

using kwhost::frame::Clock;

Clock& TheClock() {
  return kwhost::frame::Frame().clock;
}

int64_t NowMs(clockid_t clock) {
  timespec ts{};
  clock_gettime(clock, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

}  // namespace

DWORD GetTickCount() {
  Clock& s = TheClock();
  if (s.manual) return s.tick;
  return static_cast<DWORD>(NowMs(CLOCK_MONOTONIC));
}

void GetLocalTime(SYSTEMTIME* st) {
  if (!st) return;
  Clock& s = TheClock();
  int64_t ms = s.manual ? s.localMs : NowMs(CLOCK_REALTIME);
  time_t secs = static_cast<time_t>(ms / 1000);
  tm parts{};
  if (s.manual) {
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

void SetManualClock(uint32_t tickMs, int hour, int minute, int second) {
  Clock& s = TheClock();
  s.manual = true;
  s.tick = tickMs;
  constexpr int64_t k20240101 = 1704067200;  // 2024-01-01 00:00:00, seconds since 1970
  s.localMs = (k20240101 + hour * 3600LL + minute * 60LL + second) * 1000;
}

void AdvanceClock(uint32_t ms) {
  Clock& s = TheClock();
  if (!s.manual) return;
  s.tick += ms;
  s.localMs += ms;
}

void UseRealClock() {
  TheClock().manual = false;
}

}  // namespace kwhost
