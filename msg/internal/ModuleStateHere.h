// The module state as the library's own send path reaches it: the object itself, bound inside
// the shared object, so that a send reads it without going through the symbol table as
// GetModuleState's callers outside the library do. Internal to msg/.
#ifndef KW_MSG_INTERNAL_MODULESTATEHERE_H_
#define KW_MSG_INTERNAL_MODULESTATEHERE_H_

#include "msg/ModuleState.h"

namespace KWRDPub {

// Constant-initialised (ready before any code of the module runs) and never exported.
extern ModuleState g_moduleState __attribute__((visibility("hidden")));

inline ModuleState& ModuleStateHere() {
  return g_moduleState;
}

}  // namespace KWRDPub

#endif  // KW_MSG_INTERNAL_MODULESTATEHERE_H_
