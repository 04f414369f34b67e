#include "msg/ModuleState.h"

#include <type_traits>

#include "msg/internal/ModuleStateHere.h"

namespace KWRDPub {

static_assert(std::is_trivially_destructible_v<ModuleState>,
              "the state must outlive every destructor that runs at unload");

constinit ModuleState g_moduleState;

ModuleState& GetModuleState() {
  return g_moduleState;
}

void ModuleState::MarkHostEnding(std::wstring_view line, uint32_t tick) {
  const size_t n = line.size() < kLastLineChars - 1 ? line.size() : kLastLineChars - 1;
  line.copy(m_lastHostEnded, n);
  m_lastHostEnded[n] = 0;
  m_hostEndTick = tick;
  m_hostEnding = 1;
}

void ModuleState::AcknowledgeHostEnding(bool warned) {
  if (warned) m_warnAfterEnd = false;
  m_hostEnding = 0;
}

}  // namespace KWRDPub
