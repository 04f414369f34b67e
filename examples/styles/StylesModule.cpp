// The styles module's entry point: at load it unlocks itself and registers its commands in the
// group "KWSTYLES"; at unload it removes the group, so that no command outlives the module.
#include "examples/styles/LineStyleCommands.h"
#include "examples/styles/StyleCommands.h"
#include "host/api/accmd.h"
#include "host/api/rx.h"

namespace {

constexpr wchar_t kGroup[] = L"KWSTYLES";

AcRx::AppRetCode Load(void* appId) {
  acrxDynamicLinker->unlockApplication(appId);
  acrxDynamicLinker->registerAppMDIAware(appId);
  RegisterLineStyleCommands(kGroup);
  kwstyles::RegisterProjectCommand(kGroup);
  kwstyles::RegisterTextStyleCommands(kGroup);
  kwstyles::RegisterLayerCommands(kGroup);
  return AcRx::kRetOK;
}

AcRx::AppRetCode Unload() {
  acedRegCmds()->removeGroup(kGroup);
  return AcRx::kRetOK;
}

}  // namespace

extern "C" AcRx::AppRetCode acrxEntryPoint(AcRx::AppMsgCode msg, void* pkt) {
  switch (msg) {
    case AcRx::kInitAppMsg:
      return Load(pkt);
    case AcRx::kUnloadAppMsg:
      return Unload();
    default:
      return AcRx::kRetOK;
  }
}
