// Process-wide state shared by the module entry (app/) and the message dispatcher.
//
// Invariants:
//   1. Only the host's main thread reads or writes it; nothing is locked.
//   2. hostEnding is set by the quit message, by the main-window watcher when the main frame
//      closes, and at unload; the dispatcher clears it after its first warning box.
//   3. lastHostEnded is always 0-terminated and never longer than kLastLineChars - 1.
//   4. The state is trivially destructible, so it stays usable while the shared object unloads.
#ifndef KW_MSG_INTERNAL_MODULESTATE_H_
#define KW_MSG_INTERNAL_MODULESTATE_H_

#include <cstdint>
#include <string_view>

namespace KWRDPub {

struct ModuleState {
  static constexpr size_t kLastLineChars = 128;

  // The send-log switch: 1 = every message send is written to the trace log.
  uint32_t traceMsgLogo = 1;
  // Set while the host is ending (see invariant 2).
  uint32_t hostEnding = 0;
  // Tick count taken when the host's end was noticed.
  uint32_t hostEndTick = 0;
  // The dispatcher warns once after the host's end; cleared by that warning.
  bool warnAfterEnd = true;
  // The last host-ended line ("<QuitMsg />" or the main-window line).
  wchar_t lastHostEnded[kLastLineChars] = {};

  void SetLastHostEnded(std::wstring_view line) {
    size_t n = line.size() < kLastLineChars - 1 ? line.size() : kLastLineChars - 1;
    line.copy(lastHostEnded, n);
    lastHostEnded[n] = 0;
  }
};

// The single state of the process: constant-initialised, so it is ready before any code of the
// module runs and costs no guard check on the send path.
extern constinit ModuleState g_moduleState;
inline ModuleState& GetModuleState() { return g_moduleState; }

}  // namespace KWRDPub

#endif  // KW_MSG_INTERNAL_MODULESTATE_H_
