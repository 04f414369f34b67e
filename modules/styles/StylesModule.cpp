// kwstyles: the drawing-styles module for people. It carries a project's style library (the
// text styles, line styles and layers that the library keeps under the project's "Styles"
// folder) into any drawing:
//   - at load (kInitAppMsg) it registers its command families in the group "KWSTYLES";
//   - at unload (kUnloadAppMsg) it removes that group: the library outlives the module and
//     must never call into unloaded code. The style collections belong to the library and stay.
#include "host/api/accmd.h"
#include "host/api/rx.h"
#include "modules/styles/StyleCommands.h"

namespace {

AcRx::AppRetCode Load(void* appId) {
  acrxDynamicLinker->unlockApplication(appId);
  acrxDynamicLinker->registerAppMDIAware(appId);
  kwstyles::RegisterProjectCommand();
  kwstyles::RegisterTextStyleCommands();
  kwstyles::RegisterLayerCommands();
  return AcRx::kRetOK;
}

AcRx::AppRetCode Unload() {
  acedRegCmds()->removeGroup(kwstyles::kGroup);
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
