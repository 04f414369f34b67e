#include "msg/ModuleState.h"

#include <type_traits>

namespace KWRDPub {

static_assert(std::is_trivially_destructible_v<ModuleState>,
              "the state must outlive every destructor that runs at unload");

namespace {

// Constant-initialised: ready before any code of the module runs, no guard on the send path.
constinit ModuleState g_moduleState;

}  // namespace

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
