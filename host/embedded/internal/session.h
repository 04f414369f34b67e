// The embedded host's session: all state of the one host per process, shared by the parts of
// the embedded host (command line, frame and timers, documents, modules, system variables).
// Internal to libkwhost; tests and tools use <kwhost/embedded.h>.
//
// Invariants:
//   1. `input` holds whole lines; the front one may be the rest of a partly taken line.
//   2. `readerDone` is set once the reader reported the end of input; it is never asked again.
//   3. `current` is null or one of `documents`.
//   4. Timer ids are unique among the timers of one window (null window: thread timers).
#ifndef KW_HOST_EMBEDDED_SESSION_H_
#define KW_HOST_EMBEDDED_SESSION_H_

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "common/text.h"
#include "host/api/aced.h"
#include "host/api/docman.h"
#include "host/api/rx.h"
#include "host/api/win.h"

namespace kwhost::detail {

struct NoCaseLess {
  bool operator()(const std::wstring& a, const std::wstring& b) const {
    return kw::CompareNoCase(a, b) < 0;
  }
};

struct Timer {
  HWND hwnd;
  UINT_PTR id;
  UINT elapse;
  TIMERPROC proc;
  uint32_t last;  // tick when set or last fired
};

struct Module {
  std::wstring path;
  void* handle;
  AcRxEntryPointFn entry;
  bool locked = true;
  bool mdiAware = false;
};

// A system variable's value (one resbuf's worth, strings owned here).
struct SysVar {
  short type = RTSHORT;
  double point[3] = {0, 0, 0};  // RTREAL uses point[0]
  int64_t integer = 0;          // RTSHORT, RTLONG
  std::wstring text;            // RTSTR
  bool readOnly = false;
};

struct Session {
  // Command line.
  std::deque<std::wstring> input;
  std::function<bool(std::wstring*)> reader;
  bool readerInteractive = false;
  bool readerDone = false;
  int initFlags = 0;
  std::vector<std::wstring> keywords;  // local names as listed
  std::vector<std::wstring> globals;   // global names, same positions
  std::wstring lastKeyword;
  std::wstring captured;
  std::function<void(std::wstring_view)> sink;
  std::vector<std::wstring> boxes;
  std::vector<std::wstring> debugTrace;

  // Main frame.
  std::vector<AcedWatchWinMsgFn> watchers;
  std::deque<MSG> posted;
  std::vector<Timer> timers;
  UINT_PTR nextThreadTimer = 1;
  uintptr_t nextWindow = 0x20000;
  bool frameClosed = false;

  // Clock.
  bool manualClock = false;
  uint32_t manualTick = 0;
  int64_t manualMs = 0;  // local time, milliseconds since the Unix epoch

  // Documents.
  std::vector<std::unique_ptr<AcApDocument>> documents;
  AcApDocument* current = nullptr;
  bool locksFail = false;

  // Modules, in load order.
  std::vector<Module> modules;

  // System variables.
  std::map<std::wstring, SysVar, NoCaseLess> sysVars;
};

Session& S();
// Writes text to the output sink (or the capture buffer).
void Print(std::wstring_view text);
// Clears the per-session parts of the command stack (commands/groups).
void ClearCommands();
void LoadDefaultSysVars(Session& s);
// The next raw input line (queue, then reader). False at the end of input.
bool TakeLine(std::wstring* line);
// A peek at the next line for message boxes: queued, or read ahead from a non-interactive
// reader (and queued). False when there is none.
const std::wstring* PeekLine();
void UnloadAllModules();
HWND MainFrame();

}  // namespace kwhost::detail

#endif  // KW_HOST_EMBEDDED_SESSION_H_
