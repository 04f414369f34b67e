// The module service: the modules loaded with dlopen, their entry points and their locks.
//
// Invariants:
//   1. `loaded` is in load order and holds each dlopen handle once.
//   2. A module is in `loaded` from just before its kInitAppMsg until just after its
//      kUnloadAppMsg; an entry point that refuses kInitAppMsg leaves it out again.
#ifndef KW_HOST_EMBEDDED_MODULES_MODULES_H_
#define KW_HOST_EMBEDDED_MODULES_MODULES_H_

#include <string>
#include <vector>

#include "host/api/rx.h"

namespace kwhost::modules {

struct Module {
  std::wstring path;
  void* handle;
  AcRxEntryPointFn entry;
  bool locked = true;
  bool mdiAware = false;
};

struct State {
  std::vector<Module> loaded;
};

State& Modules();
// The loaded module of that handle (the appId the dynamic linker is given), or null.
Module* FindByHandle(void* handle);
// Sends kUnloadAppMsg to every module, last loaded first, and unloads them, locked or not.
void UnloadAll();
// A session's reset: every module unloaded (UnloadAll).
void Reset();

}  // namespace kwhost::modules

#endif  // KW_HOST_EMBEDDED_MODULES_MODULES_H_
