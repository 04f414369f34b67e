// The dynamic linker: modules lock and unlock themselves and record their MDI awareness.
#include "common/text.h"
#include "host/api/rx.h"
#include "host/embedded/modules/modules.h"

using kwhost::modules::FindByHandle;
using kwhost::modules::Modules;

ACRX_NO_CONS_DEFINE_MEMBERS(AcRxDynamicLinker, AcRxObject)

bool AcRxDynamicLinker::unlockApplication(void* appId) const {
  auto* m = FindByHandle(appId);
  if (m) m->locked = false;
  return m != nullptr;
}

bool AcRxDynamicLinker::lockApplication(void* appId) const {
  auto* m = FindByHandle(appId);
  if (m) m->locked = true;
  return m != nullptr;
}

bool AcRxDynamicLinker::isApplicationLocked(const wchar_t* moduleName) const {
  for (auto& m : Modules().loaded) {
    if (kw::EqualsNoCase(m.path, kw::View(moduleName))) return m.locked;
  }
  return false;
}

bool AcRxDynamicLinker::registerAppMDIAware(void* appId) const {
  auto* m = FindByHandle(appId);
  if (m) m->mdiAware = true;
  return m != nullptr;
}

bool AcRxDynamicLinker::registerAppNotMDIAware(void* appId) const {
  auto* m = FindByHandle(appId);
  if (m) m->mdiAware = false;
  return m != nullptr;
}

AcRxDynamicLinker* acrxDynamicLinkerPtr() {
  static AcRxDynamicLinker linker;
  return &linker;
}
