// The module's process-wide state: the send-log switch and the host-ending state. The module
// entry (app/) sets the switch (command "TraceMsgLogo") and marks the host's end (main frame
// closing, unload); the message dispatcher reads both, marks the end on the quit message and
// acknowledges it once it has told the user.
//
// States of the host-ending part:
//   running -> ending    MarkHostEnding (quit message, main frame closing) or MarkUnloading
//   ending  -> running   AcknowledgeHostEnding (the dispatcher showed its warning box)
// Invariants:
//   1. Only the host's main thread reads or writes it; nothing is locked.
//   2. The last host-ended line is 0-terminated and at most kLastLineChars - 1 characters.
//   3. The one-time warning after kWarnAfterMs is given at most once per process.
//   4. The state is constant-initialised and trivially destructible: it is ready before any
//      code of the module runs and stays usable while the shared object unloads.
#ifndef KW_MSG_MODULESTATE_H_
#define KW_MSG_MODULESTATE_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace KWRDPub {

class ModuleState {
 public:
  static constexpr size_t kLastLineChars = 128;
  // The one-time warning comes with the first send made later than this after the host's end.
  static constexpr uint32_t kWarnAfterMs = 60000;

  constexpr ModuleState() = default;

  // The send-log switch: 1 (the default) writes every message send to the trace log, 0 not.
  uint32_t SendLog() const { return m_sendLog; }
  void SetSendLog(uint32_t on) { m_sendLog = on ? 1 : 0; }

  // The host's end was noticed at tick count `tick` through the event `line` describes
  // ("<QuitMsg />" or the main-window line); the line is kept, cut to kLastLineChars - 1.
  void MarkHostEnding(std::wstring_view line, uint32_t tick);
  // The module is being unloaded: the flag only; the tick and line of an earlier end stay.
  void MarkUnloading() { m_hostEnding = 1; }
  // 1 while the host is ending (see the states above), else 0.
  uint32_t HostEnding() const { return m_hostEnding; }
  // The tick count and line of the last end noticed (0 and "" before any).
  uint32_t HostEndTick() const { return m_hostEndTick; }
  const wchar_t* LastHostEnded() const { return m_lastHostEnded; }
  // True when the one-time warning is due at tick count `now`: the host is ending, the warning
  // was not given yet and more than kWarnAfterMs passed since the end.
  bool WarningDue(uint32_t now) const {
    return m_hostEnding && m_warnAfterEnd && now - m_hostEndTick > kWarnAfterMs;
  }
  // The dispatcher told the user about the end: back to running. `warned` spends the one-time
  // warning (it was that warning the user saw).
  void AcknowledgeHostEnding(bool warned);

 private:
  uint32_t m_sendLog = 1;
  uint32_t m_hostEnding = 0;
  uint32_t m_hostEndTick = 0;
  bool m_warnAfterEnd = true;
  wchar_t m_lastHostEnded[kLastLineChars] = {};
};

// The single state of the process. Assigning ModuleState{} gives a freshly loaded module's
// state (tests).
ModuleState& GetModuleState();

}  // namespace KWRDPub

#endif  // KW_MSG_MODULESTATE_H_
