#include "msg/internal/ModuleState.h"

#include <type_traits>

namespace KWRDPub {

static_assert(std::is_trivially_destructible_v<ModuleState>,
              "the state must outlive every destructor that runs at unload");

constinit ModuleState g_moduleState;

}  // namespace KWRDPub
